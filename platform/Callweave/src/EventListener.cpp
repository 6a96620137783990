#include "Tavik/Callweave/EventListener.h"

namespace Tavik {
namespace Callweave {

EventListener::EventListener(const std::string& endPoint) : Listener(endPoint) {}

EventListener::~EventListener() = default;

} // namespace Callweave
} // namespace Tavik
