/*
 * libupnp 1.8 binds its HTTP server to port 49152 when asked for "any port"
 * and fails when that one is taken (by another peer of the same test run),
 * so the peers ask the kernel for a free loopback port and retry when another
 * process took it in between.
 */

#ifndef LoopbackInit_INCLUDED
#define LoopbackInit_INCLUDED

#include <upnp.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#define LOOPBACK_INIT_ATTEMPTS 20

static unsigned short freeLoopbackPort(void)
{
	struct sockaddr_in address = {0};
	socklen_t length = sizeof address;
	unsigned short port = 0;
	int fd = socket(AF_INET, SOCK_STREAM, 0);
	if (fd < 0) return 0;
	address.sin_family = AF_INET;
	address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
	if (bind(fd, (struct sockaddr*)&address, sizeof address) == 0 &&
	    getsockname(fd, (struct sockaddr*)&address, &length) == 0)
		port = ntohs(address.sin_port);
	close(fd);
	return port;
}

/* UpnpInit on 127.0.0.1 and a free port; libupnp's result code. */
static int initOnLoopback(void)
{
	int rc = UPNP_E_SOCKET_BIND;
	for (int attempt = 0; attempt < LOOPBACK_INIT_ATTEMPTS && rc == UPNP_E_SOCKET_BIND; ++attempt)
		rc = UpnpInit("127.0.0.1", freeLoopbackPort());
	return rc;
}

#endif /* LoopbackInit_INCLUDED */
