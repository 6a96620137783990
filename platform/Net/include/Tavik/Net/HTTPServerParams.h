#ifndef Tavik_Net_HTTPServerParams_INCLUDED
#define Tavik_Net_HTTPServerParams_INCLUDED

#include "Tavik/Timespan.h"

#include <cstdint>

namespace Tavik {
namespace Net {

/// The limits and settings of an HTTPServer, each with its default and what a
/// client meets when it goes over it.
struct HTTPServerParams
{
	/// Worker threads, each running one request handler at a time. All are
	/// started with the server; no thread is created per request.
	unsigned maxThreads = 8;

	/// Connections whose request head has arrived and that wait for a free
	/// worker. One more is answered 503 (Service Unavailable) and closed.
	unsigned maxQueued = 64;

	/// Whether connections persist between requests (when the client allows).
	bool keepAlive = true;

	/// How long a connection may sit idle waiting for the first byte of its
	/// next (or first) request. It is then closed without a response. An idle
	/// connection occupies no worker.
	Timespan keepAliveTimeout = Timespan(10 * Timespan::SECONDS);

	/// How long the rest of a request head may take after its first byte, and
	/// how long each read of a request body and each write of a response may
	/// wait for the client. When it runs out the connection is closed (a
	/// handler reading the body sees its stream fail with TimeoutException).
	Timespan timeout = Timespan(60 * Timespan::SECONDS);

	/// Bytes of request line plus header fields (16 KiB). A longer head is
	/// answered 431 (Request Header Fields Too Large) and the connection closed.
	std::uint32_t maxHeaderBytes = 16 * 1024;

	/// Bytes of request body (16 MiB). A larger Content-Length is answered 413
	/// (Request Entity Too Large) before any handler runs; a chunked body
	/// that grows past it makes the handler's body stream fail, and the server
	/// answers 413 when the handler has not sent a response yet.
	std::uint64_t maxBodyBytes = 16 * 1024 * 1024;

	/// Requests served on one connection (1000); the last response says
	/// "Connection: close". 0 means no limit.
	unsigned maxRequestsPerConnection = 1000;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPServerParams_INCLUDED
