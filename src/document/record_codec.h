#pragma once

#include "document/enumeration.h"
#include "document/file_format.h"
#include "foundation/array.h"
#include "foundation/base64.h"
#include "foundation/geometry.h"
#include "foundation/json_tree.h"
#include "foundation/json_writer.h"
#include "foundation/shared_bytes.h"
#include "foundation/uuid.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <fmt/format.h>

/// How records become JSON and back: one table of fields for each record (see record_tables.h), and a codec for each type of
/// value that a field can have.

namespace larkspool {

/// Path and reason as one sentence. A reason is the rest of a sentence that begins with the path, or one of its own.
inline std::string failureText(std::string_view path, std::string_view reason)
{
    if (path.empty()) return std::string(reason);
    const bool isSentence = !reason.empty() && reason.front() >= 'A' && reason.front() <= 'Z';
    return fmt::format("{}{} {}", path, isSentence ? ":" : "", reason);
}

/// Text of a file, short enough to be shown.
inline std::string quoted(std::string_view text)
{
    constexpr std::size_t longest = 40;
    if (text.size() <= longest) return fmt::format("\"{}\"", text);
    std::size_t length = longest;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
    return fmt::format("\"{}...\"", text.substr(0, length));
}

/// How many layers there are so far, and how many of them are within one another just now.
struct LayerCount {
    std::size_t nesting = 0;
    std::size_t total = 0;
};

/// What is carried along while records are written.
struct RecordWriter {
    JsonWriter json;
    LayerCount layers;
};

/// What is carried along while records are read: where reading stands, why it failed last, and what there is to tell.
class RecordReader {
public:
    struct Failure {
        DecodingError::Kind kind = DecodingError::Kind::syntax;
        std::string path;
        std::string reason;
    };

    /// Goes one step down the path for as long as it lives.
    class Step {
    public:
        Step(RecordReader& reader, std::string_view key) : reader_(reader), length_(reader.path_.size())
        {
            if (length_ > 0) reader_.path_ += '.';
            reader_.path_ += key;
        }
        Step(RecordReader& reader, std::size_t index) : reader_(reader), length_(reader.path_.size())
        {
            fmt::format_to(std::back_inserter(reader_.path_), "[{}]", index);
        }
        Step(const Step&) = delete;
        Step& operator=(const Step&) = delete;
        ~Step() { reader_.path_.resize(length_); }

    private:
        RecordReader& reader_;
        std::size_t length_;
    };

    /// What had been told at some moment. What is told later is taken back if the value that it speaks of fails as a whole.
    struct Mark {
        std::size_t told = 0;
        std::size_t untold = 0;
        std::size_t untoldUnknownKeys = 0;
    };

    /// Remembers why the value at hand fails. Always false, so that a reader can return it.
    bool fail(DecodingError::Kind kind, std::string reason)
    {
        failure_.kind = kind;
        failure_.path = path_; // Into the memory of the failure before: a file can hold millions of them.
        failure_.reason = std::move(reason);
        return false;
    }
    bool failType(std::string_view wanted) { return fail(DecodingError::Kind::typeMismatch, fmt::format("is not {}", wanted)); }

    const Failure& failure() const { return failure_; }

    void tell(Diagnostic::Action action, std::string text)
    {
        if (isFull())
            ++diagnostics_.untold;
        else
            diagnostics_.told.push_back({path_, action, std::move(text)});
    }
    void tellUnknownKey(std::string_view key)
    {
        if (isFull()) ++diagnostics_.untoldUnknownKeys;
        tell(Diagnostic::Action::unknownKey, isFull() ? std::string() : fmt::format("the key {} is unknown", quoted(key)));
    }
    void tellRepeatedKey(std::string_view key)
    {
        tell(Diagnostic::Action::dropped,
             isFull() ? std::string() : fmt::format("the key {} comes again; the last one holds", quoted(key)));
    }

    Mark mark() const { return {diagnostics_.told.size(), diagnostics_.untold, diagnostics_.untoldUnknownKeys}; }
    void takeBack(const Mark& mark)
    {
        diagnostics_.told.resize(mark.told);
        diagnostics_.untold = mark.untold;
        diagnostics_.untoldUnknownKeys = mark.untoldUnknownKeys;
    }

    /// Tells what became of the value at hand, which failed.
    void tellFallback(Diagnostic::Action action)
    {
        tell(action, isFull() ? std::string() : failureText(failure_.path, failure_.reason));
    }

    const std::string& path() const { return path_; }
    Diagnostics takeDiagnostics() { return std::move(diagnostics_); }

    LayerCount layers;

private:
    bool isFull() const { return diagnostics_.told.size() == Diagnostics::mostTold; }

    std::string path_;
    Failure failure_;
    Diagnostics diagnostics_;
};

// ---------------------------------------------------------------- tables

/// What happens when a key is missing or malformed.
enum class Rule {
    required,          ///< The record fails.
    requiredIfPresent, ///< Missing: absent. Malformed: the record fails.
    fallsBack,         ///< The value that a fresh record has stays.
    legacy,            ///< Never written, and read only where the record's rules ask for it.
};

/// One key of a record.
template <typename Record>
struct Field {
    std::string_view key;
    Rule rule = Rule::fallsBack;
    Diagnostic::Action fallback = Diagnostic::Action::defaulted;
    bool (*isPresent)(const Record&) = nullptr;
    void (*write)(RecordWriter&, const Record&) = nullptr;
    bool (*read)(RecordReader&, JsonValue, Record&) = nullptr; ///< Leaves the record as it was when it fails.
};

/// The keys of a record: `static constexpr auto fields`, made by `table`.
template <typename Record>
struct RecordTable;

/// Writes and reads one type of value. This general form is for records that have a table; the others follow below.
///
/// `read` returns false after `reader.fail(...)`; the value is then not to be used.
template <typename T>
struct Codec;

template <typename T>
struct OptionalOf {
    using Value = T;
    static constexpr bool isOptional = false;
};
template <typename T>
struct OptionalOf<std::optional<T>> {
    using Value = T;
    static constexpr bool isOptional = true;
};

template <typename T>
inline constexpr bool isArray = false;
template <typename T>
inline constexpr bool isArray<Array<T>> = true;

template <typename Pointer>
struct MemberPointer;
template <typename R, typename M>
struct MemberPointer<M R::*> {
    using Record = R;
    using Member = M;
};

/// The field of a member. An optional member is written only if it is present.
template <auto member>
constexpr auto field(std::string_view key, Rule rule = Rule::fallsBack)
{
    using Record = typename MemberPointer<decltype(member)>::Record;
    using Member = typename MemberPointer<decltype(member)>::Member;
    using Value = typename OptionalOf<Member>::Value;
    constexpr bool isOptional = OptionalOf<Member>::isOptional;

    Field<Record> result;
    result.key = key;
    result.rule = rule;
    result.fallback = isOptional || isArray<Value> ? Diagnostic::Action::dropped : Diagnostic::Action::defaulted;
    result.isPresent = [](const Record& record) {
        if constexpr (isOptional)
            return (record.*member).has_value();
        else
            return static_cast<void>(record), true;
    };
    result.write = [](RecordWriter& writer, const Record& record) {
        if constexpr (isOptional)
            Codec<Value>::write(writer, *(record.*member));
        else
            Codec<Value>::write(writer, record.*member);
    };
    result.read = [](RecordReader& reader, JsonValue json, Record& record) {
        Value value{};
        if (!Codec<Value>::read(reader, json, value)) return false;
        record.*member = std::move(value);
        return true;
    };
    return result;
}

/// A key of earlier days.
template <typename Record>
constexpr Field<Record> legacyField(std::string_view key)
{
    return {.key = key, .rule = Rule::legacy};
}

/// The fields of a record in the ascending order of their keys, which is that of the file.
template <typename Record, std::size_t count>
constexpr std::array<Field<Record>, count> table(std::array<Field<Record>, count> fields)
{
    std::ranges::sort(fields, {}, &Field<Record>::key);
    return fields;
}

template <typename Record>
inline constexpr std::size_t fieldCount = RecordTable<Record>::fields.size();

/// The place of a key in its table. An unknown key does not compile.
template <typename Record>
consteval std::size_t slotOf(std::string_view key)
{
    for (std::size_t i = 0; i < fieldCount<Record>; ++i)
        if (RecordTable<Record>::fields[i].key == key) return i;
    throw "no such key";
}

// ---------------------------------------------------------------- records

enum class Outcome : std::uint8_t { missing, malformed, read };

/// What a file has for each field of a record, and what came of reading it.
template <typename Record>
struct Slots {
    std::array<std::optional<JsonValue>, fieldCount<Record>> values{};
    std::array<Outcome, fieldCount<Record>> outcomes{};
};

/// What a record does once its fields are read, beyond their fallbacks.
template <typename Record>
struct RecordRules {
    static void finish(RecordReader&, const Slots<Record>&, Record&) {}
};

template <typename Record>
void writeRecord(RecordWriter& writer, const Record& record)
{
    writer.json.beginObject();
    for (const Field<Record>& each : RecordTable<Record>::fields) {
        if (each.rule == Rule::legacy || !each.isPresent(record)) continue;
        writer.json.key(each.key);
        each.write(writer, record);
    }
    writer.json.endObject();
}

/// Sorts an object's members to their fields. Files have their keys in the order of the table, so that the field behind the
/// last one is nearly always the right one.
template <typename Record>
void matchKeys(RecordReader& reader, JsonValue json, Slots<Record>& slots)
{
    constexpr auto& fields = RecordTable<Record>::fields;
    std::size_t expected = 0;
    for (const JsonMember& member : json.members()) {
        std::size_t slot = expected;
        if (slot >= fields.size() || fields[slot].key != member.key) {
            const auto found = std::ranges::lower_bound(fields, member.key, {}, &Field<Record>::key);
            if (found == fields.end() || found->key != member.key) {
                reader.tellUnknownKey(member.key);
                continue;
            }
            slot = static_cast<std::size_t>(found - fields.begin());
        }
        if (slots.values[slot]) reader.tellRepeatedKey(member.key);
        slots.values[slot] = member.value;
        expected = slot + 1;
    }
}

/// Reads one field, and tells if it falls back. False if the record fails with it.
template <typename Record>
bool readField(RecordReader& reader, const Field<Record>& each, const std::optional<JsonValue>& json, Record& record,
               Outcome& outcome)
{
    if (!json && each.rule != Rule::required) return true;

    const RecordReader::Step step(reader, each.key);
    if (!json) return reader.fail(DecodingError::Kind::missingKey, "is missing");

    const RecordReader::Mark mark = reader.mark();
    if (each.read(reader, *json, record)) {
        outcome = Outcome::read;
        return true;
    }
    outcome = Outcome::malformed;
    const bool isAsGoodAsMissing = each.rule == Rule::requiredIfPresent && json->isNull();
    if (each.rule != Rule::fallsBack && !isAsGoodAsMissing) return false;

    reader.takeBack(mark);
    reader.tellFallback(each.fallback);
    return true;
}

/// Reads an object into a record that has its defaults.
template <typename Record>
bool readRecord(RecordReader& reader, JsonValue json, Record& record)
{
    if (!json.isObject()) return reader.failType("an object");

    Slots<Record> slots;
    matchKeys(reader, json, slots);
    constexpr auto& fields = RecordTable<Record>::fields;
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (fields[i].rule != Rule::legacy && !readField(reader, fields[i], slots.values[i], record, slots.outcomes[i]))
            return false;
    RecordRules<Record>::finish(reader, slots, record);
    return true;
}

template <typename T>
struct Codec {
    static void write(RecordWriter& writer, const T& record) { writeRecord(writer, record); }
    static bool read(RecordReader& reader, JsonValue json, T& record) { return readRecord(reader, json, record); }
};

// ---------------------------------------------------------------- plain values

template <>
struct Codec<double> {
    static void write(RecordWriter& writer, double value) { writer.json.number(value); }
    static bool read(RecordReader& reader, JsonValue json, double& value)
    {
        const std::optional<double> number = json.number();
        if (!number) {
            if (json.kind() != JsonValue::Kind::number) return reader.failType("a number");
            return reader.fail(DecodingError::Kind::invalidValue, "is beyond the largest number");
        }
        value = *number;
        return true;
    }
};

template <>
struct Codec<std::int64_t> {
    static void write(RecordWriter& writer, std::int64_t value) { writer.json.integer(value); }
    static bool read(RecordReader& reader, JsonValue json, std::int64_t& value)
    {
        const std::optional<std::int64_t> integer = json.integer();
        if (!integer) return reader.failType("a whole number of 64 bits");
        value = *integer;
        return true;
    }
};

template <>
struct Codec<bool> {
    static void write(RecordWriter& writer, bool value) { writer.json.boolean(value); }
    static bool read(RecordReader& reader, JsonValue json, bool& value)
    {
        const std::optional<bool> boolean = json.boolean();
        if (!boolean) return reader.failType("true or false");
        value = *boolean;
        return true;
    }
};

template <>
struct Codec<SharedString> {
    static void write(RecordWriter& writer, const SharedString& value) { writer.json.string(value); }
    static bool read(RecordReader& reader, JsonValue json, SharedString& value)
    {
        const std::optional<std::string_view> string = json.string();
        if (!string) return reader.failType("a string");
        value = *string;
        return true;
    }
};

template <>
struct Codec<UUID> {
    static void write(RecordWriter& writer, const UUID& value) { writer.json.string(value.string()); }
    static bool read(RecordReader& reader, JsonValue json, UUID& value)
    {
        const std::optional<std::string_view> string = json.string();
        if (!string) return reader.failType("a string");
        const std::optional<UUID> id = UUID::parse(*string);
        if (!id) return reader.fail(DecodingError::Kind::invalidValue, quoted(*string) + " is not a UUID");
        value = *id;
        return true;
    }
};

template <>
struct Codec<Bytes> {
    static void write(RecordWriter& writer, const Bytes& value) { writer.json.base64(value.view()); }
    static bool read(RecordReader& reader, JsonValue json, Bytes& value)
    {
        const std::optional<std::string_view> string = json.string();
        if (!string) return reader.failType("a string");
        std::optional<std::vector<std::uint8_t>> bytes = base64Decoded(*string);
        if (!bytes) return reader.fail(DecodingError::Kind::invalidValue, "is not Base64");
        value = Bytes(std::move(*bytes));
        return true;
    }
};

/// Two values of one type in an array.
template <typename T>
bool readPair(RecordReader& reader, JsonValue json, T& first, T& second)
{
    if (!json.isArray() || json.size() != 2) return reader.failType("an array of two");
    std::size_t index = 0;
    for (const JsonValue element : json.elements()) {
        const RecordReader::Step step(reader, index);
        if (!Codec<T>::read(reader, element, index == 0 ? first : second)) return false;
        ++index;
    }
    return true;
}

template <typename T>
void writePair(RecordWriter& writer, const T& first, const T& second)
{
    writer.json.beginArray();
    Codec<T>::write(writer, first);
    Codec<T>::write(writer, second);
    writer.json.endArray();
}

template <>
struct Codec<CGPoint> {
    static void write(RecordWriter& writer, const CGPoint& value) { writePair(writer, value.x, value.y); }
    static bool read(RecordReader& reader, JsonValue json, CGPoint& value) { return readPair(reader, json, value.x, value.y); }
};

template <>
struct Codec<CGSize> {
    static void write(RecordWriter& writer, const CGSize& value) { writePair(writer, value.width, value.height); }
    static bool read(RecordReader& reader, JsonValue json, CGSize& value)
    {
        return readPair(reader, json, value.width, value.height);
    }
};

template <>
struct Codec<CGRect> {
    static void write(RecordWriter& writer, const CGRect& value)
    {
        writePair(writer, value.origin, CGPoint{value.size.width, value.size.height});
    }
    static bool read(RecordReader& reader, JsonValue json, CGRect& value)
    {
        CGPoint size;
        if (!readPair(reader, json, value.origin, size)) return false;
        value.size = {size.x, size.y};
        return true;
    }
};

template <typename T>
    requires std::is_enum_v<T>
struct Codec<T> {
    static void write(RecordWriter& writer, T value) { writer.json.string(fileValue(value)); }
    static bool read(RecordReader& reader, JsonValue json, T& value)
    {
        const std::optional<std::string_view> string = json.string();
        if (!string) return reader.failType("a string");
        const std::optional<T> found = fromFileValue<T>(*string);
        if (!found) return reader.fail(DecodingError::Kind::invalidValue, quoted(*string) + " is not a known value");
        value = *found;
        return true;
    }
};

/// Decoded whole: one bad element loses the array.
template <typename T>
struct Codec<Array<T>> {
    static void write(RecordWriter& writer, const Array<T>& array)
    {
        writer.json.beginArray();
        for (const T& element : array) Codec<T>::write(writer, element);
        writer.json.endArray();
    }
    static bool read(RecordReader& reader, JsonValue json, Array<T>& array)
    {
        // A record can be a thousand times as large as its text: room ahead is given to a fair number only.
        constexpr std::size_t mostAhead = 4096;
        if (!json.isArray()) return reader.failType("an array");
        std::vector<T> elements;
        for (const JsonValue element : json.elements()) {
            const RecordReader::Step step(reader, elements.size());
            if (elements.empty()) elements.reserve(std::min(json.size(), mostAhead));
            if (!Codec<T>::read(reader, element, elements.emplace_back())) return false;
        }
        array = Array<T>(std::move(elements));
        return true;
    }
};

// ---------------------------------------------------------------- unions

/// One case of a tagged union: the single key of its object. Its payload is an object that has a table of its own.
template <typename Union>
struct UnionCase {
    std::string_view name;
    bool (*holds)(const Union&);
    void (*write)(RecordWriter&, const Union&);
    bool (*read)(RecordReader&, JsonValue, Union&);
};

/// The payload of a case that has one value without a label.
template <typename T>
struct Unlabelled {
    T value{};
};

/// The payload of a case without values.
struct NoPayload {};

template <typename T>
struct RecordTable<Unlabelled<T>> {
    static constexpr auto fields = table(std::array{field<&Unlabelled<T>::value>("_0", Rule::required)});
};

template <>
struct RecordTable<NoPayload> {
    static constexpr std::array<Field<NoPayload>, 0> fields{};
};

/// The cases of a union: `static constexpr std::array cases`.
template <typename Union>
struct UnionTable;

template <typename Union>
void writeUnion(RecordWriter& writer, const Union& value)
{
    writer.json.beginObject();
    for (const UnionCase<Union>& each : UnionTable<Union>::cases) {
        if (!each.holds(value)) continue;
        writer.json.key(each.name);
        each.write(writer, value);
        break;
    }
    writer.json.endObject();
}

/// Exactly one known key; others are not counted.
template <typename Union>
bool readUnion(RecordReader& reader, JsonValue json, Union& value)
{
    if (!json.isObject()) return reader.failType("an object");

    const UnionCase<Union>* found = nullptr;
    JsonValue payload;
    for (const JsonMember& member : json.members()) {
        const auto known = std::ranges::find(UnionTable<Union>::cases, member.key, &UnionCase<Union>::name);
        if (known == UnionTable<Union>::cases.end()) {
            reader.tellUnknownKey(member.key);
            continue;
        }
        const UnionCase<Union>* each = &*known;
        if (found && found != each)
            return reader.fail(DecodingError::Kind::typeMismatch, "Invalid number of keys found, expected one.");
        if (found) reader.tellRepeatedKey(member.key);
        found = each;
        payload = member.value;
    }
    if (!found) return reader.fail(DecodingError::Kind::typeMismatch, "Invalid number of keys found, expected one.");

    const RecordReader::Step step(reader, found->name);
    return found->read(reader, payload, value);
}

} // namespace larkspool
