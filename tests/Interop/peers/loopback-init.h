/*
 * libupnp 1.8 binds its HTTP server to port 49152 when asked for any port and
 * fails when another peer of the test run has it: the peers take a free
 * loopback port from the kernel, and retry when another process took it first.
 */

#ifndef LoopbackInit_INCLUDED
#define LoopbackInit_INCLUDED

#include <upnp.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

static unsigned short freeLoopbackPort(void)
{
	struct sockaddr_in address = {0};
	socklen_t length = sizeof address;
	const int fd = socket(AF_INET, SOCK_STREAM, 0);
	address.sin_family = AF_INET;
	address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
	if (fd < 0 || bind(fd, (struct sockaddr*)&address, sizeof address) != 0 ||
	    getsockname(fd, (struct sockaddr*)&address, &length) != 0)
		address.sin_port = 0;
	if (fd >= 0) close(fd);
	return ntohs(address.sin_port);
}

/* UpnpInit on 127.0.0.1 and a free port; libupnp's result code. */
static int initOnLoopback(void)
{
	int rc = UPNP_E_SOCKET_BIND;
	for (int attempt = 0; attempt < 20 && rc == UPNP_E_SOCKET_BIND; ++attempt)
		rc = UpnpInit("127.0.0.1", freeLoopbackPort());
	return rc;
}

#endif /* LoopbackInit_INCLUDED */
