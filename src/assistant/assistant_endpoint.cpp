#include "assistant/assistant_endpoint.h"

#include <algorithm>

namespace larkspool {

namespace {

constexpr std::string_view path = "/v1/messages";

bool isPartOfHost(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("-._:[]").find(c) != std::string_view::npos;
}

} // namespace

std::string assistantEndpoint(std::string_view host)
{
    std::string_view scheme = "https://";
    for (const std::string_view told : {"https://", "http://"}) {
        if (!host.starts_with(told)) continue;
        scheme = told;
        host.remove_prefix(told.size());
        break;
    }
    if (host.ends_with('/')) host.remove_suffix(1);
    if (host.empty() || !std::ranges::all_of(host, isPartOfHost)) return {};
    return std::string(scheme) + std::string(host) + std::string(path);
}

std::string assistantEndpoint(const std::function<const char*(const char*)>& lookUp, const UserDefaults& defaults)
{
    if (const char* host = lookUp(assistantHostVariable); host && *host) return assistantEndpoint(host);
    const std::string host = defaults.string(DefaultsKey::assistantHost);
    return assistantEndpoint(host.empty() ? assistantDefaultHost : std::string_view(host));
}

} // namespace larkspool
