#include "Tavik/UUIDGenerator.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

using namespace Tavik;

namespace {

TEST(UUIDGeneratorTest, CreatesVersion4WithTheStandardVariant)
{
	UUIDGenerator generator;
	for (int i = 0; i < 100; ++i)
	{
		const std::string text = generator.create().toString();
		ASSERT_EQ(text.size(), 36u);
		EXPECT_EQ(text[14], '4') << text;
		EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos) << text;
	}
}

TEST(UUIDGeneratorTest, UniqueAcrossThreads)
{
	constexpr int THREADS = 4;
	constexpr int PER_THREAD = 5000;
	std::vector<std::vector<UUID>> results(THREADS);
	std::vector<std::thread> threads;
	for (int t = 0; t < THREADS; ++t)
	{
		threads.emplace_back(
		    [&results, t]
		    {
			    for (int i = 0; i < PER_THREAD; ++i)
				    results[t].push_back(UUIDGenerator::defaultGenerator().create());
		    });
	}
	for (auto& thread : threads)
		thread.join();

	std::set<UUID> all;
	for (const auto& list : results)
		all.insert(list.begin(), list.end());
	EXPECT_EQ(all.size(), std::size_t(THREADS * PER_THREAD));
	EXPECT_EQ(all.count(UUID()), 0u);
}

} // namespace
