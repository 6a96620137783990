#ifndef Tavik_gena_Discovery_INCLUDED
#define Tavik_gena_Discovery_INCLUDED

#include "Watch.h"

#include <string>
#include <vector>

namespace Gena {

/// 10 seconds: the limit of each network step (connect, send, each read) of
/// fetching a description; a silent server gets a Failure, not a hang.
constexpr int FETCH_TIMEOUT_SECONDS = 10;
/// 1 MiB: the largest description accepted; a larger body is a Failure.
constexpr unsigned long MAX_DESCRIPTION_BYTES = 1024 * 1024;

/// What monitor subscribes to for url: when GET url answers 200, url is a
/// device description and the result is every service with an eventSubURL
/// it lists (embedded devices included), resolved against URLBase or url;
/// any other answer means url is an event URL itself. Throws Failure
/// (CANNOT_REACH, NOT_A_DESCRIPTION, NO_EVENTED_SERVICES).
std::vector<Target> findTargets(const std::string& url);

/// The services with events that description (a UPnP device description
/// fetched from url) lists. Throws Failure (NOT_A_DESCRIPTION,
/// NO_EVENTED_SERVICES).
std::vector<Target> parseDescription(const std::string& description, const std::string& url);

/// The numeric local address the system would send from to reach the host
/// and port of url: a UDP socket is connected (no packet is sent) and asked
/// for its own address. Throws Failure (NO_ROUTE).
std::string localAddressFor(const std::string& url);

} // namespace Gena

#endif // Tavik_gena_Discovery_INCLUDED
