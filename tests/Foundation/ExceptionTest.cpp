#include "Tavik/AutoPtr.h"
#include "Tavik/Bugcheck.h"
#include "Tavik/Exception.h"
#include "Tavik/RefCountedObject.h"

#include <gtest/gtest.h>

#include <memory>

using namespace Tavik;

TEST(ExceptionTest, MessageArgumentAndDisplayText)
{
	IOException plain("HTTP error");
	EXPECT_EQ(plain.message(), "HTTP error");
	EXPECT_EQ(plain.displayText(), "I/O error: HTTP error");

	IOException withArg("HTTP error", "Not Found", 404);
	EXPECT_EQ(withArg.message(), "HTTP error: Not Found");
	EXPECT_EQ(withArg.code(), 404);
	EXPECT_EQ(withArg.displayText(), "I/O error: HTTP error: Not Found");

	NullPointerException empty;
	EXPECT_EQ(empty.displayText(), "Null pointer");
	EXPECT_STREQ(empty.what(), "Null pointer");
}

TEST(ExceptionTest, CloneAndRethrowKeepTheDynamicType)
{
	const NotFoundException original("Unknown subscriber");
	std::unique_ptr<Exception> copy(static_cast<const Exception&>(original).clone());
	EXPECT_STREQ(copy->className(), "Tavik::NotFoundException");
	EXPECT_THROW(copy->rethrow(), NotFoundException);

	try
	{
		copy->rethrow();
	}
	catch (const RuntimeException& exc)
	{
		EXPECT_EQ(exc.message(), "Unknown subscriber");
	}
}

TEST(ExceptionTest, NestedExceptionIsCopied)
{
	const Exception outer("outer", SyntaxException("inner"));
	const Exception copy(outer);
	ASSERT_NE(copy.nested(), nullptr);
	EXPECT_STREQ(copy.nested()->name(), "Syntax error");
	EXPECT_NE(copy.nested(), outer.nested());
}

TEST(BugcheckTest, NamesTheSourceFileWithoutExtensionRelativeToTheRoot)
{
	try
	{
		tavik_bugcheck();
		FAIL();
	}
	catch (const BugcheckException& exc)
	{
		EXPECT_EQ(exc.message().rfind("in file \"tests/Foundation/ExceptionTest\", line ", 0), 0u)
			<< exc.message();
	}
}

namespace {

class Counted : public RefCountedObject
{
public:
	explicit Counted(int& destroyed) : _destroyed(destroyed) {}

protected:
	~Counted() override { ++_destroyed; }

private:
	int& _destroyed;
};

} // namespace

TEST(AutoPtrTest, LastReleaseDeletes)
{
	int destroyed = 0;
	{
		AutoPtr<Counted> first(new Counted(destroyed));
		AutoPtr<Counted> second(first);
		EXPECT_EQ(first->referenceCount(), 2);
		first.reset();
		EXPECT_EQ(destroyed, 0);
		AutoPtr<Counted> third(second.get(), true);
		EXPECT_EQ(third->referenceCount(), 2);
	}
	EXPECT_EQ(destroyed, 1);
	AutoPtr<Counted> null;
	EXPECT_THROW(null->referenceCount(), NullPointerException);
}
