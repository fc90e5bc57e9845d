#include "platform/notification_center.h"

#include "foundation/main_thread.h"

#include <cassert>
#include <utility>

namespace larkspool {

Observation NotificationCenter::addObserver(std::string_view name, Receive receive)
{
    assert(isMainThread());
    return observers_.try_emplace(std::string(name)).first->second.add(std::move(receive));
}

void NotificationCenter::post(std::string_view name, std::any payload) const
{
    assert(isMainThread());
    const auto listening = observers_.find(name);
    if (listening != observers_.end()) listening->second.tell({name, std::move(payload)});
}

} // namespace larkspool
