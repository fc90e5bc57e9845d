#pragma once

#include "platform/secret_store.h"

namespace larkspool {

/// The secrets that the desktop keeps for the person, by the Secret Service or what the desktop has in its place. Secrets are
/// never written in the clear.
class DesktopSecrets final : public SecretStore {
public:
    void read(std::string_view name, std::function<void(std::optional<std::string> secret)> answer) override;
    void write(std::string_view name, std::string_view secret, std::function<void(bool isDone)> answer) override;
};

} // namespace larkspool
