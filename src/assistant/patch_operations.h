#pragma once

#include "assistant/json.h"
#include "document/tween_document.h"

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

/// Edits of a document as data. They reach the document through its JSON form, so that all that a file can say can be edited, and
/// what reading a file does (defaults, older ways of saying things) is done to every edit.

namespace larkspool {

/// @name One edit. A `property` is a key of the JSON form; one that is not known there changes nothing. A null `value` gives the
/// property what it has where the key is missing.
/// @{
struct SetSceneProperty {
    std::string property;
    JSON value;

    bool operator==(const SetSceneProperty&) const = default;
};

struct SetProperty {
    UUID layerID;
    std::string property;
    JSON value;

    bool operator==(const SetProperty&) const = default;
};

struct AddKeyframe {
    UUID layerID;
    JSON keyframe;

    bool operator==(const AddKeyframe&) const = default;
};

/// Nothing happens if the layer has no such keyframe; so too with a pulse.
struct DeleteKeyframe {
    UUID layerID;
    UUID keyframeID;

    bool operator==(const DeleteKeyframe&) const = default;
};

struct AddPulse {
    UUID layerID;
    JSON pulse;

    bool operator==(const AddPulse&) const = default;
};

struct DeletePulse {
    UUID layerID;
    UUID pulseID;

    bool operator==(const DeletePulse&) const = default;
};

/// In front of all others of the active scene.
struct AddLayer {
    JSON layer;

    bool operator==(const AddLayer&) const = default;
};

/// Of a layer at the top level alone: one within another is not found.
struct DeleteLayer {
    UUID layerID;

    bool operator==(const DeleteLayer&) const = default;
};

using PatchOperation =
    std::variant<SetSceneProperty, SetProperty, AddKeyframe, DeleteKeyframe, AddPulse, DeletePulse, AddLayer, DeleteLayer>;
/// @}

/// The operation that a value stands for, such as {"op": "delete_layer", "layer_id": "..."}. Throws DecodingError.
PatchOperation decodedPatchOperation(const JSON& value);

/// Why a patch does not apply.
class PatchError : public std::runtime_error {
public:
    enum class Kind { layerNotFound, keyframeNotFound, pulseNotFound, sceneOutOfRange, decodeFailed, invalidProperty };

    static PatchError layerNotFound(const UUID& id);
    static PatchError keyframeNotFound(const UUID& id);
    static PatchError pulseNotFound(const UUID& id);
    static PatchError sceneOutOfRange(std::int64_t index);
    static PatchError decodeFailed(std::string_view text);
    static PatchError invalidProperty(std::string_view name);

    Kind kind() const noexcept { return kind_; }
    std::string errorDescription() const { return what(); }

private:
    PatchError(Kind kind, const std::string& description) : std::runtime_error(description), kind_(kind) {}

    Kind kind_;
};

/// Applies the operations in order and returns how many they are. They work on the active scene; a layer is searched for there
/// first, then in the other scenes in order.
///
/// All or nothing: when it throws, the document is as it was. Throws PatchError, also where a value would lose a part because the
/// format cannot hold it (decodeFailed, with the place and the reason); DecodingError where a scene would not be one any more;
/// JsonWriteError for a document that no file can hold.
std::int64_t applyPatchOperations(std::span<const PatchOperation> operations, TweenDocument& document);

} // namespace larkspool
