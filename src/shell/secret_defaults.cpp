#include "shell/secret_defaults.h"

#include <utility>

namespace larkspool {

SecretDefaults::SecretDefaults(UserDefaults& plain, SecretStore& store, const StringKey& key)
    : plain_(plain), store_(store), key_(key), secret_(plain.string(key.name))
{
    store_.read(key_.name, [this, alive = std::weak_ptr(isAlive_)](std::optional<std::string> secret) {
        if (!alive.expired()) takeRead(std::move(secret));
    });
}

std::optional<UserDefaults::Value> SecretDefaults::value(std::string_view key) const
{
    if (key != key_.name) return plain_.value(key);
    return secret_.empty() ? std::nullopt : std::optional<Value>(secret_);
}

void SecretDefaults::store(std::string_view key, Value value)
{
    if (key != key_.name) return plain_.set(key, std::move(value));
    const auto* text = std::get_if<std::string>(&value);
    secret_ = text ? *text : std::string();
    wasSet_ = true;
    keep();
}

void SecretDefaults::discard(std::string_view key)
{
    if (key != key_.name) return plain_.remove(key);
    store(key, std::string());
}

void SecretDefaults::takeRead(std::optional<std::string> secret)
{
    isReading_ = false;
    hasStore_ = secret.has_value();
    if (!hasStore_) return;
    // What was set since, or lies among the plain settings, is newer than what the store has.
    if (wasSet_ || !secret_.empty()) return keep();
    if (secret->empty()) return;
    secret_ = *std::move(secret);
    tellOfChange(key_.name);
}

void SecretDefaults::keep()
{
    if (!hasStore_) return keepPlainly(); // Nor is it known yet whether there is one.
    if (isWriting_) return;
    isWriting_ = true;
    store_.write(key_.name, secret_, [this, written = secret_, alive = std::weak_ptr(isAlive_)](bool isDone) {
        if (!alive.expired()) takeWritten(written, isDone);
    });
}

void SecretDefaults::takeWritten(const std::string& written, bool isDone)
{
    isWriting_ = false;
    if (!isDone) return keepPlainly();
    if (written != secret_) return keep(); // It changed meanwhile.
    plain_.remove(key_.name);
}

void SecretDefaults::keepPlainly()
{
    if (secret_.empty())
        plain_.remove(key_.name);
    else
        plain_.set(key_.name, secret_);
}

} // namespace larkspool
