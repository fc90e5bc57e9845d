#pragma once

#include "platform/user_defaults.h"

#include <functional>
#include <string>
#include <string_view>

namespace larkspool {

/// The public host of the Messages API.
inline constexpr std::string_view assistantDefaultHost = "api.anthropic.com";

/// The variable that names another host, for proxies and tests. It comes before the setting `DefaultsKey::assistantHost`.
inline constexpr const char* assistantHostVariable = "LARKSPOOL_ASSISTANT_HOST";

/// The address of the API at a host: "example.com", with a port if it has one ("example.com:8443"). The connection is encrypted
/// unless "http://" stands before the host, which only this machine is reached by. What is no host gives an empty address, to
/// which nothing can be sent.
std::string assistantEndpoint(std::string_view host);

/// The address at the host of the environment, else of the settings, else the public one. An empty value counts as none.
/// `lookUp` gives a variable's value, or null, as `std::getenv` does.
std::string assistantEndpoint(const std::function<const char*(const char*)>& lookUp, const UserDefaults& defaults);

} // namespace larkspool
