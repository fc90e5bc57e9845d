#pragma once

#include "document/tween_document.h"
#include "platform/bookmarks.h"
#include "platform/media_file.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace larkspool {

/// Documents name the files of their videos, and files move. Here links are mended: by bookmarks without a word, and by asking
/// where a file is now.

/// Where the files are looked for that a document names.
struct MediaPlaces {
    std::string documentFolder{}; ///< Empty for a document without a file.
    FileExists exists = fileExists;
};

/// A layer whose video cannot be found.
struct MissingVideoEntry {
    UUID layerID{};
    std::string path; ///< Where the file should be, in full where that can be told; empty for a layer that names none.
    std::string name; ///< Of the file; of the layer where it names none.

    bool operator==(const MissingVideoEntry&) const = default;
};

/// The video layers, at any depth, whose files are not where they should be, in the order of the tree.
std::vector<MissingVideoEntry> collectMissingVideos(const Array<Layer>& layers, const MediaPlaces& places = {});

/// Sets the links of videos that were moved or renamed to where their bookmarks find them now, with a fresh bookmark each;
/// `refreshedAny` is set if there were such, and stays as it is if not. Links that hold are not touched.
void relinkVideosViaBookmarks(Array<Layer>& layers, bool& refreshedAny, const MediaPlaces& places = {},
                              const Bookmarks& bookmarks = systemBookmarks());

/// A new link for all layers that name the missing file; for a layer that names none, for itself alone.
struct VideoRelink {
    MissingVideoEntry missing;
    SharedString videoURL{};
    std::optional<Bytes> bookmark{};
};

/// Whether a layer was changed. Lists without one stay shared.
bool relinkVideos(Array<Layer>& layers, std::span<const VideoRelink> relinks, const MediaPlaces& places = {});

/// Asks for the missing videos of a document one after the other, each file once for all layers that name it. A file that is
/// located brings along those others that lie in its folder under their own names. Where two missing files have one name, the
/// name tells neither, and each is asked for by itself.
///
///     while (const MissingVideoEntry* entry = reconnection.asked())
///         ...one of skip, skipAll and locate
class VideoReconnection {
public:
    VideoReconnection(const TweenDocument& document, MediaPlaces places, const Bookmarks& bookmarks = systemBookmarks());

    /// The one to ask for; null at the end. Valid until the next call.
    const MissingVideoEntry* asked() const { return missing_.empty() ? nullptr : &missing_.front(); }
    /// How many files are still to be asked for.
    std::size_t remaining() const { return missing_.size(); }

    void skip();
    void skipAll() { missing_.clear(); }
    /// The links that follow when the file asked for is at `path`. They are not asked for any more.
    std::vector<VideoRelink> locate(const std::string& path);

private:
    bool sharesItsName(const MissingVideoEntry& entry) const;
    VideoRelink relink(const MissingVideoEntry& entry, const std::string& path) const;

    MediaPlaces places_;
    const Bookmarks& bookmarks_;
    std::vector<MissingVideoEntry> missing_; ///< In the order of the document; the first is asked for.
    std::vector<std::string> names_;         ///< Of all files that were missing, sorted.
};

} // namespace larkspool
