#ifndef Tavik_gena_Commands_INCLUDED
#define Tavik_gena_Commands_INCLUDED

#include "Options.h"
#include "Output.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/Host/Host.h"

#include <memory>

namespace Gena {

/// The listener settings of the tool: with strict, plain GENA (all off);
/// otherwise callback check, strict renewal, grants of at most one day,
/// early-NOTIFY grace and SEQ gap recovery.
Tavik::UPnP::GENA::Listener::Settings listenerSettings(bool strict);

/// A host listening on params.address and params.port, with
/// listenerSettings(strict). Throws Failure when it cannot listen there.
std::unique_ptr<Tavik::UPnP::Host::Host> makeHost(const Tavik::UPnP::Host::Host::Params& params, bool strict);

/// Each command returns the exit code (0) or throws UsageError or Failure.
int runDemo(const Options& options, Output& output);
int runPublish(const Options& options, Output& output);
int runMonitor(const Options& options, Output& output);

} // namespace Gena

#endif // Tavik_gena_Commands_INCLUDED
