#pragma once

#include "foundation/geometry.h"
#include "platform/platform_error.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace larkspool {

/// The settings of a person outside of any document, by key. One thread at a time.
class UserDefaults {
public:
    /// Integers are numbers; they are exact up to 2^53.
    using Value = std::variant<bool, double, std::string>;

    virtual ~UserDefaults() = default;

    /// What is stored under the key, if anything.
    virtual std::optional<Value> value(std::string_view key) const = 0;
    /// A number must be finite.
    virtual void set(std::string_view key, Value value) = 0;
    virtual void remove(std::string_view key) = 0;

    /// @name What is stored under the key; false, 0 or empty if that is nothing or of another type.
    /// @{
    bool boolean(std::string_view key) const;
    double number(std::string_view key) const;
    std::int64_t integer(std::string_view key) const; ///< A fraction is cut off. 0 for a number beyond 2^53.
    std::string string(std::string_view key) const;
    /// @}
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
    void set(std::string_view key, Value value) override;
    void remove(std::string_view key) override;

    /// Why the last change is not in the file, if it is not.
    const std::optional<PlatformError>& writeFailure() const { return writeFailure_; }

    /// The file of this user, "larkspool/defaults.json" in $XDG_CONFIG_HOME or else in ".config" of $HOME. Empty if the
    /// environment names neither as an absolute path.
    static std::string userDefaultsPath();

private:
    void read();
    void write();

    std::string path_;
    std::map<std::string, Value, std::less<>> values_;
    std::optional<PlatformError> writeFailure_;
};

/// The keys of the settings, with the type of their values and what holds where there is none.
namespace DefaultsKey {
inline constexpr std::string_view pendingPresetWidth = "lksPendingPresetWidth";
inline constexpr std::string_view pendingPresetHeight = "lksPendingPresetHeight";
inline constexpr std::string_view useGPUExporter = "lksUseGPUExporter";                   ///< Boolean; false.
inline constexpr std::string_view lastExportTarget = "lksLastExportTarget";               ///< "all", "current" or "scene:2"; "current".
inline constexpr std::string_view exportMotionBlurSamples = "lksExportMotionBlurSamples"; ///< Integer; 1.
inline constexpr std::string_view exportIncludeAudio = "lksExportIncludeAudio";           ///< Boolean; true.
inline constexpr std::string_view exportOutputScale = "lksExportOutputScale";             ///< Number; 1.
inline constexpr std::string_view ripplePushBefore = "lksRipplePushBefore";               ///< Boolean; false.
inline constexpr std::string_view ripplePushAfter = "lksRipplePushAfter";                 ///< Boolean; false.
inline constexpr std::string_view rippleScope = "lksRippleScope";                         ///< A scope's raw value; "all".
inline constexpr std::string_view timelinePlayheadSnap = "lksTimelinePlayheadSnap";       ///< A snap mode's raw value; "frame".
inline constexpr std::string_view timelineSnapToSpans = "lksTimelineSnapToSpans";         ///< Boolean; true.
inline constexpr std::string_view timelineSnapToKeyframes = "lksTimelineSnapToKeyframes"; ///< Boolean; true.
inline constexpr std::string_view timelineSnapToPulses = "lksTimelineSnapToPulses";       ///< Boolean; true.
} // namespace DefaultsKey

/// The canvas size that waits for the next new document. It is handed out once: both keys are removed. If either side is not
/// above 0 there is no size, and the keys stay.
std::optional<CGSize> takePendingPresetSize(UserDefaults& defaults);

} // namespace larkspool
