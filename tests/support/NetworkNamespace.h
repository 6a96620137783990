#ifndef NetworkNamespace_INCLUDED
#define NetworkNamespace_INCLUDED

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

namespace DeadHost {

/// A network namespace standing in for another host on the LAN, reached over
/// a veth pair: 10.a.b.c+1/30 on our side, 10.a.b.c+2/30 on its side, the
/// subnet derived from the process id so that test programs running at the
/// same time do not collide. Made with iproute2 (needs root). The destructor
/// removes both the pair and the namespace.
class NetworkNamespace
{
public:
	/// Thrown when the namespace or its link cannot be made (not root, no
	/// iproute2, no namespace support); what() says why.
	class Unavailable : public std::runtime_error
	{
	public:
		using std::runtime_error::runtime_error;
	};

	NetworkNamespace()
	{
		const unsigned pid = static_cast<unsigned>(getpid());
		_name = "tavik-deadhost-" + std::to_string(pid);
		_hostLink = "tdh" + std::to_string(pid) + "h";
		_peerLink = "tdh" + std::to_string(pid) + "p";
		const std::string subnet =
		    "10." + std::to_string((pid >> 14) & 0xFF) + "." + std::to_string((pid >> 6) & 0xFF) + ".";
		const unsigned base = (pid & 0x3F) << 2;
		_hostAddress = subnet + std::to_string(base + 1);
		_peerAddress = subnet + std::to_string(base + 2);
		// Leftovers of an earlier process with the same id that did not clean up.
		run("ip link del " + _hostLink);
		run("ip netns del " + _name);
		require("ip netns add " + _name);
		try
		{
			require("ip link add " + _hostLink + " type veth peer name " + _peerLink + " netns " + _name);
			require("ip addr add " + _hostAddress + "/30 dev " + _hostLink);
			require("ip link set " + _hostLink + " up");
			require("ip -n " + _name + " addr add " + _peerAddress + "/30 dev " + _peerLink);
			require("ip -n " + _name + " link set " + _peerLink + " up");
		}
		catch (...)
		{
			removeAll();
			throw;
		}
	}

	~NetworkNamespace() { removeAll(); }

	NetworkNamespace(const NetworkNamespace&) = delete;
	NetworkNamespace& operator=(const NetworkNamespace&) = delete;

	/// Our address on the link.
	const std::string& hostAddress() const { return _hostAddress; }
	/// The other host's address.
	const std::string& peerAddress() const { return _peerAddress; }

	/// Makes the other host stop answering, or answer again: its side of the
	/// link goes down or up. Packets to it are then dropped on our side,
	/// nothing is refused. Throws Unavailable when iproute2 fails.
	void setPeerAnswering(bool answering)
	{
		require("ip -n " + _name + " link set " + _peerLink + (answering ? " up" : " down"));
	}

	/// Pins the other host's link-layer address on our side, as a live ARP
	/// entry would be: then a connection to the silent host waits for its
	/// timeout. Unpinned, the kernel forgets the address when the link goes
	/// down and fails a connection after its ARP probes (about 3 s) with "No
	/// route to host", as for a host that has left the LAN for good.
	void pinPeerAddress()
	{
		const std::string brief = require("ip -n " + _name + " -br link show " + _peerLink);
		// "<name>@<peer> <state> <address> <flags>"
		const std::string::size_type state = brief.find_first_not_of(' ', brief.find(' '));
		const std::string::size_type address = brief.find_first_not_of(' ', brief.find(' ', state));
		const std::string mac = brief.substr(address, brief.find_first_of(" \n", address) - address);
		require("ip neigh replace " + _peerAddress + " lladdr " + mac + " dev " + _hostLink +
		        " nud permanent");
	}

	/// Runs function with the calling thread inside the namespace, so that
	/// the sockets it opens (and the threads it starts) belong to the other
	/// host; returns its result. Throws Unavailable when the thread cannot
	/// enter or leave the namespace, and what function throws.
	template <class Function> auto inside(Function function) -> decltype(function())
	{
		const Descriptor ours(open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC));
		const Descriptor theirs(open(("/run/netns/" + _name).c_str(), O_RDONLY | O_CLOEXEC));
		if (ours.fd < 0 || theirs.fd < 0 || setns(theirs.fd, CLONE_NEWNET) != 0)
			throw Unavailable("cannot enter the network namespace " + _name);
		struct Return
		{
			int fd;
			~Return()
			{
				if (setns(fd, CLONE_NEWNET) != 0) std::terminate(); // the thread would stay on the other host
			}
		} back{ours.fd};
		return function();
	}

private:
	struct Descriptor
	{
		explicit Descriptor(int descriptor) : fd(descriptor) {}
		~Descriptor()
		{
			if (fd >= 0) close(fd);
		}
		Descriptor(const Descriptor&) = delete;
		Descriptor& operator=(const Descriptor&) = delete;
		int fd;
	};

	/// Runs command through the shell; returns its exit status and sets
	/// output to what it wrote (stdout and stderr).
	static int run(const std::string& command, std::string* pOutput = nullptr)
	{
		FILE* pPipe = popen((command + " 2>&1").c_str(), "r");
		if (!pPipe) return -1;
		std::string output;
		char chunk[256];
		while (fgets(chunk, sizeof chunk, pPipe))
			output += chunk;
		if (pOutput) *pOutput = output;
		return pclose(pPipe);
	}

	static std::string require(const std::string& command)
	{
		std::string output;
		if (run(command, &output) != 0) throw Unavailable("'" + command + "' failed: " + output);
		return output;
	}

	void removeAll()
	{
		// Deleting our end deletes the pair; the namespace goes with its last user.
		run("ip link del " + _hostLink);
		run("ip netns del " + _name);
	}

	std::string _name;
	std::string _hostLink;
	std::string _peerLink;
	std::string _hostAddress;
	std::string _peerAddress;
};

} // namespace DeadHost

#endif // NetworkNamespace_INCLUDED
