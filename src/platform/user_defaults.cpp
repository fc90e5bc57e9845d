#include "platform/user_defaults.h"

#include "foundation/json_tree.h"
#include "foundation/json_writer.h"
#include "platform/file_io.h"

#include <cassert>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace larkspool {

namespace {

/// The value of an environment variable if it is an absolute path, else empty.
std::filesystem::path absolutePath(const char* variable)
{
    const char* value = std::getenv(variable);
    const std::filesystem::path path = value ? value : "";
    return path.is_absolute() ? path : std::filesystem::path();
}

std::optional<UserDefaults::Value> storedValue(const JsonValue& json)
{
    if (const auto boolean = json.boolean()) return *boolean;
    if (const auto number = json.number()) return *number;
    if (const auto text = json.string()) return std::string(*text);
    return std::nullopt;
}

struct ValueWriter {
    JsonWriter& writer;

    void operator()(bool value) const { writer.boolean(value); }
    void operator()(double value) const { writer.number(value); }
    void operator()(const std::string& value) const { writer.string(value); }
};

template <typename T>
T valueOr(const std::optional<UserDefaults::Value>& value, T fallback)
{
    const T* found = value ? std::get_if<T>(&*value) : nullptr;
    return found ? *found : fallback;
}

} // namespace

void UserDefaults::set(std::string_view key, Value value)
{
    assert(!std::holds_alternative<double>(value) || std::isfinite(std::get<double>(value)));
    const bool changes = this->value(key) != value;
    store(key, std::move(value));
    if (changes) observers_.tell(key);
}

void UserDefaults::remove(std::string_view key)
{
    if (!value(key)) return;
    discard(key);
    observers_.tell(key);
}

bool UserDefaults::boolean(std::string_view key) const
{
    return valueOr(value(key), false);
}

double UserDefaults::number(std::string_view key) const
{
    return valueOr(value(key), 0.0);
}

std::int64_t UserDefaults::integer(std::string_view key) const
{
    return integer(IntegerKey{key, 0});
}

std::string UserDefaults::string(std::string_view key) const
{
    return valueOr(value(key), std::string());
}

bool UserDefaults::boolean(const BooleanKey& key) const
{
    return valueOr(value(key), key.fallback);
}

double UserDefaults::number(const NumberKey& key) const
{
    return valueOr(value(key), key.fallback);
}

std::int64_t UserDefaults::integer(const IntegerKey& key) const
{
    constexpr double largestExact = 9007199254740992;
    const std::optional<Value> stored = value(key);
    const double* number = stored ? std::get_if<double>(&*stored) : nullptr;
    return number && std::abs(*number) <= largestExact ? static_cast<std::int64_t>(*number) : key.fallback;
}

std::string UserDefaults::string(const StringKey& key) const
{
    return valueOr(value(key), std::string(key.fallback));
}

FileUserDefaults::FileUserDefaults(std::string path) : path_(std::move(path))
{
    if (!path_.empty()) read();
}

std::optional<UserDefaults::Value> FileUserDefaults::value(std::string_view key) const
{
    const auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

void FileUserDefaults::store(std::string_view key, Value value)
{
    values_.insert_or_assign(std::string(key), std::move(value));
    write();
}

void FileUserDefaults::discard(std::string_view key)
{
    values_.erase(values_.find(key));
    write();
}

std::string FileUserDefaults::userDefaultsPath()
{
    std::filesystem::path folder = absolutePath("XDG_CONFIG_HOME");
    if (folder.empty()) {
        const std::filesystem::path home = absolutePath("HOME");
        if (home.empty()) return {};
        folder = home / ".config";
    }
    return (folder / "larkspool" / "defaults.json").string();
}

void FileUserDefaults::read()
{
    try {
        const std::vector<std::uint8_t> bytes = readWholeFile(path_);
        const JsonTree tree(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
        for (const JsonMember member : tree.root().members())
            if (std::optional<Value> value = storedValue(member.value))
                values_.insert_or_assign(std::string(member.key), std::move(*value));
    } catch (const FileError&) {
        // No settings yet, or none that can be had: the defaults hold.
    } catch (const JsonSyntaxError&) {
        // A damaged file is no reason not to start. The next change replaces it.
    }
}

void FileUserDefaults::write()
{
    if (path_.empty()) return;

    JsonWriter writer;
    writer.beginObject();
    for (const auto& [key, value] : values_) {
        writer.key(key);
        std::visit(ValueWriter{writer}, value);
    }
    writer.endObject();

    writeFailure_.reset();
    try {
        makePrivateFolder(std::filesystem::path(path_).parent_path().string());
        replaceFileAtomically(path_, writer.take());
    } catch (const FileError& failure) {
        writeFailure_ = failure.error();
    }
}

std::optional<CGSize> takePendingPresetSize(UserDefaults& defaults)
{
    const CGSize size{defaults.number(DefaultsKey::pendingPresetWidth), defaults.number(DefaultsKey::pendingPresetHeight)};
    if (!(size.width > 0 && size.height > 0)) return std::nullopt;

    defaults.remove(DefaultsKey::pendingPresetWidth);
    defaults.remove(DefaultsKey::pendingPresetHeight);
    return size;
}

} // namespace larkspool
