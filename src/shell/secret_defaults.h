#pragma once

#include "platform/secret_store.h"
#include "platform/user_defaults.h"

#include <memory>
#include <optional>
#include <string>

namespace larkspool {

/// Settings of which one, a text, is kept in a store of secrets instead. Where that cannot be had, it is a setting like the others.
///
/// What a person sets holds at once, whatever the store still does. A secret found among the plain settings moves to the store,
/// and leaves its old place only once the new one has it.
class SecretDefaults final : public UserDefaults {
public:
    /// Both must outlive this object, and `plain` be changed through it alone. Begins to read the secret.
    SecretDefaults(UserDefaults& plain, SecretStore& store, const StringKey& key);

    std::optional<Value> value(std::string_view key) const override;

    /// Whether the store has nothing left to answer.
    bool isSettled() const { return !isReading_ && !isWriting_; }

protected:
    void store(std::string_view key, Value value) override;
    void discard(std::string_view key) override;

private:
    void takeRead(std::optional<std::string> secret);
    /// Takes the secret as it is now to where it is kept.
    void keep();
    void takeWritten(const std::string& written, bool isDone);
    void keepPlainly();

    UserDefaults& plain_;
    SecretStore& store_;
    StringKey key_;
    std::string secret_; ///< Empty for none.
    bool isReading_ = true;
    bool isWriting_ = false;
    bool wasSet_ = false;
    bool hasStore_ = false;
    std::shared_ptr<const bool> isAlive_ = std::make_shared<const bool>(true); ///< For answers that come too late.
};

} // namespace larkspool
