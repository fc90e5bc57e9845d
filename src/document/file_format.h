#pragma once

#include "document/tween_document.h"
#include "foundation/json_writer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// The document file: four magic bytes, then the document as JSON, pretty-printed with sorted keys.
///
/// Reading forgives. Nearly every key may be missing or malformed and then takes a default, and the defaults are what upgrades
/// files of earlier days; no step looks at the version. What was changed on the way is told as diagnostics, so that a person
/// can know what saving the document again would lose.

namespace larkspool {

/// "LKS" and a zero byte. A file without them is plain JSON of earlier days, and is read as well.
inline constexpr std::array<std::uint8_t, 4> fileMagic = {0x4C, 0x4B, 0x53, 0x00};

/// Layers within one another. A document that goes deeper is neither read nor written.
inline constexpr std::size_t deepestLayerNesting = 250;

/// Layers of a document altogether. One takes some 3 KB in a file, but a hostile file can name one with two bytes: a document
/// of more is neither read nor written.
inline constexpr std::size_t mostLayers = 1'000'000;

/// Something of a file that the document read from it does not hold as it stood.
struct Diagnostic {
    enum class Action {
        dropped,    ///< It is gone.
        defaulted,  ///< A default stands in its place.
        migrated,   ///< It was carried over from how files of earlier days said it.
        unknownKey, ///< It is gone, for its key means nothing here.
    };

    std::string path; ///< "scenes[0].layers[3].keyframes"; empty for the whole document.
    Action action = Action::dropped;
    std::string text; ///< Why, as words for a person: "scenes[0].layers[3].keyframes[2].time is missing".

    bool operator==(const Diagnostic&) const = default;
};

struct Diagnostics {
    /// Beyond so many, they are only counted.
    static constexpr std::size_t mostTold = 1000;

    std::vector<Diagnostic> told; ///< In the order in which the file was read.
    std::size_t untold = 0;
    std::size_t untoldUnknownKeys = 0; ///< How many of the untold are unknown keys.

    bool empty() const { return told.empty() && untold == 0; }
};

/// Why bytes give no document, or no record.
class DecodingError : public std::runtime_error {
public:
    enum class Kind {
        syntax,       ///< The bytes are not JSON, or are nested too deep.
        missingKey,   ///< A required key is not there.
        typeMismatch, ///< A value is of another type than it must be.
        invalidValue, ///< A value has the right type, but means nothing.
    };

    DecodingError(Kind kind, std::string path, std::string reason);

    Kind kind() const noexcept { return kind_; }
    const std::string& path() const noexcept { return path_; }     ///< Empty for the whole.
    const std::string& reason() const noexcept { return reason_; } ///< Such as "is missing".

private:
    Kind kind_;
    std::string path_;
    std::string reason_;
};

struct DecodedDocument {
    TweenDocument document;
    Diagnostics diagnostics;
};

/// The bytes of the document's file. Throws JsonWriteError for a number that is not finite, for layers nested too deep and for
/// too many of them.
std::vector<std::uint8_t> encodedData(const TweenDocument& document);

/// The document in a file's bytes. Throws DecodingError unless they are JSON with an object at the top; whatever is wrong
/// within falls back.
DecodedDocument decode(std::span<const std::uint8_t> file);

/// The same for a reader who does not ask what was changed.
TweenDocument decodeDocument(std::span<const std::uint8_t> file);

/// @name Single records
///
/// The JSON text of one record in the form that it has within a document, without magic bytes. They exist for TweenScene,
/// SceneTransition, DocumentAudio, Layer, Array<Layer>, Transform, ColorRGBA, PathCommand, VideoClip, Keyframe, KeyValue,
/// Easing, TimeSpan, SpanEffect, BlinkRange and Pulse.
/// @{

/// Throws JsonWriteError.
template <typename Record>
std::string encodedJson(const Record& record, JsonWriter::Layout layout = JsonWriter::Layout::pretty);

/// Throws DecodingError if the record as a whole fails. What falls back within is told through `diagnostics`, if given.
template <typename Record>
Record decodeJson(std::string_view json, Diagnostics* diagnostics = nullptr);
/// @}

} // namespace larkspool
