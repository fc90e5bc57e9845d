#pragma once

#include "foundation/geometry.h"
#include "platform/observers.h"
#include "platform/platform_error.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace larkspool {

/// A key of the settings, with what holds where nothing of its type is stored.
template <typename T>
struct SettingKey {
    std::string_view name;
    T fallback{};

    constexpr operator std::string_view() const { return name; }
};
using BooleanKey = SettingKey<bool>;
using IntegerKey = SettingKey<std::int64_t>;
using NumberKey = SettingKey<double>;
using StringKey = SettingKey<std::string_view>;

/// The settings of a person outside of any document, by key. One thread at a time.
class UserDefaults {
public:
    /// Integers are numbers; they are exact up to 2^53.
    using Value = std::variant<bool, double, std::string>;

    virtual ~UserDefaults() = default;

    /// What is stored under the key, if anything.
    virtual std::optional<Value> value(std::string_view key) const = 0;
    /// A number must be finite.
    void set(std::string_view key, Value value);
    void remove(std::string_view key);

    /// Calls `changed` after every change of what is stored, with its key, so that a setting takes effect everywhere at once.
    [[nodiscard]] Observation observe(std::function<void(std::string_view key)> changed)
    {
        return observers_.add(std::move(changed));
    }

    /// @name What is stored under the key; false, 0 or empty if that is nothing or of another type.
    /// @{
    bool boolean(std::string_view key) const;
    double number(std::string_view key) const;
    std::int64_t integer(std::string_view key) const; ///< A fraction is cut off. 0 for a number beyond 2^53.
    std::string string(std::string_view key) const;
    /// @}

    /// @name The same with the key's own fallback for what is missing, of another type, or no number that can be had.
    /// @{
    bool boolean(const BooleanKey& key) const;
    double number(const NumberKey& key) const;
    std::int64_t integer(const IntegerKey& key) const;
    std::string string(const StringKey& key) const;
    /// @}

protected:
    virtual void store(std::string_view key, Value value) = 0;
    virtual void discard(std::string_view key) = 0; ///< The key is there.
    /// For a change that did not come through `set` or `remove`.
    void tellOfChange(std::string_view key) const { observers_.tell(key); }

private:
    Observers<std::string_view> observers_;
};

/// Settings kept in one JSON file, which is read once and written anew, as a whole, with every change.
///
/// A file that is missing or not what this class writes counts as empty, value by value where it can. Settings never stop the
/// program: a change that cannot be written holds until the process ends, and `writeFailure` tells why.
class FileUserDefaults final : public UserDefaults {
public:
    /// An empty path keeps the settings in memory alone.
    explicit FileUserDefaults(std::string path = userDefaultsPath());

    std::optional<Value> value(std::string_view key) const override;

    /// Why the last change is not in the file, if it is not.
    const std::optional<PlatformError>& writeFailure() const { return writeFailure_; }

    /// The file of this user, "larkspool/defaults.json" in $XDG_CONFIG_HOME or else in ".config" of $HOME. Empty if the
    /// environment names neither as an absolute path.
    static std::string userDefaultsPath();

protected:
    void store(std::string_view key, Value value) override;
    void discard(std::string_view key) override;

private:
    void read();
    void write();

    std::string path_;
    std::map<std::string, Value, std::less<>> values_;
    std::optional<PlatformError> writeFailure_;
};

/// The one table of keys.
namespace DefaultsKey {

/// @name The application.
/// @{
inline constexpr BooleanKey suppressWelcomeAtLaunch{"lksSuppressWelcomeAtLaunch", false};
inline constexpr BooleanKey useGPUExporter{"lksUseGPUExporter", false};
inline constexpr NumberKey pendingPresetWidth{"lksPendingPresetWidth", 0}; ///< For the next new document alone; the height too.
inline constexpr NumberKey pendingPresetHeight{"lksPendingPresetHeight", 0};
inline constexpr BooleanKey shownVideoLinkedNotice{"lksShownVideoLinkedNotice", false}; ///< A notice that is shown once.
/// @}

/// @name The assistant.
/// @{
inline constexpr BooleanKey assistantEnabled{"lksAssistantEnabled", false};
inline constexpr StringKey assistantAPIKey{"lksAssistantAPIKey", ""};
inline constexpr StringKey assistantModel{"lksAssistantModel", "claude-sonnet-4-6"};
/// Where the assistant's requests go; empty for the public host.
inline constexpr StringKey assistantHost{"lksAssistantHost", ""};
/// @}

/// @name Editing.
/// @{
inline constexpr BooleanKey hideOffCanvas{"lksHideOffCanvas", false}; ///< The live canvas is cut at the scene's frame.
inline constexpr BooleanKey keyframeAtPlayhead{"lksKeyframeAtPlayhead", true}; ///< Edits write a keyframe at the playhead.
inline constexpr BooleanKey sizeAspectLocked{"lksSizeAspectLocked", false};
inline constexpr BooleanKey scaleAspectLocked{"lksScaleAspectLocked", false};
inline constexpr StringKey playMode{"lksPlayMode", "once"}; ///< A play mode's name.
inline constexpr StringKey lastUsedFontName{"lksLastUsedFontName", ""}; ///< Of the next text layer; empty for none.
inline constexpr StringKey mixMatchCategories{"lksMixMatchCategories", "fill,strokeColor"}; ///< Names with commas between.
inline constexpr NumberKey mixMatchBias{"lksMixMatchBias", 0};
inline constexpr BooleanKey mixMatchAsSet{"lksMixMatchAsSet", false};
/// @}

/// @name The panels of the editor's window. One is seen if it is shown and not collapsed.
/// @{
inline constexpr BooleanKey showLayers{"lksShowLayers", true};
inline constexpr BooleanKey showInspector{"lksShowInspector", true};
inline constexpr BooleanKey showTimeline{"lksShowTimeline", true};
inline constexpr BooleanKey showSceneStrip{"lksShowSceneStrip", true};
inline constexpr BooleanKey collapsedLayers{"lksCollapsedLayers", false};
inline constexpr BooleanKey collapsedInspector{"lksCollapsedInspector", false};
inline constexpr BooleanKey collapsedTimeline{"lksCollapsedTimeline", false};
/// @}

/// @name Export.
/// @{
inline constexpr StringKey lastExportTarget{"lksLastExportTarget", "current"}; ///< "all", "current" or "scene:2".
inline constexpr IntegerKey exportMotionBlurSamples{"lksExportMotionBlurSamples", 1};
inline constexpr BooleanKey exportIncludeAudio{"lksExportIncludeAudio", true};
inline constexpr NumberKey exportOutputScale{"lksExportOutputScale", 1};
/// @}

/// @name The timeline.
/// @{
inline constexpr BooleanKey ripplePushBefore{"lksRipplePushBefore", false};
inline constexpr BooleanKey ripplePushAfter{"lksRipplePushAfter", false};
inline constexpr StringKey rippleScope{"lksRippleScope", "all"}; ///< A scope's raw value.
inline constexpr StringKey timelinePlayheadSnap{"lksTimelinePlayheadSnap", "frame"}; ///< A snap mode's raw value.
inline constexpr BooleanKey timelineSnapToSpans{"lksTimelineSnapToSpans", true};
inline constexpr BooleanKey timelineSnapToKeyframes{"lksTimelineSnapToKeyframes", true};
inline constexpr BooleanKey timelineSnapToPulses{"lksTimelineSnapToPulses", true};
/// @}

} // namespace DefaultsKey

/// The canvas size that waits for the next new document. It is handed out once: both keys are removed. If either side is not
/// above 0 there is no size, and the keys stay.
std::optional<CGSize> takePendingPresetSize(UserDefaults& defaults);

} // namespace larkspool
