#pragma once

#include "document/tween_scene.h"
#include "export/exporter.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace larkspool {

/// Why the second exporter could not write a film.
class GPUExportError : public std::runtime_error {
public:
    enum class Kind {
        pixelBufferPoolFailed,
        writerSetupFailed,
        appendFailed,
        noMetalDevice, ///< A renderer was asked for by name that is not there.
        textureAllocFailed, ///< A renderer cannot reach the memory of a frame; the processor always can.
        cancelled
    };

    static GPUExportError pixelBufferPoolFailed(std::int32_t status);
    static GPUExportError writerSetupFailed(std::string text);
    static GPUExportError appendFailed(std::int64_t frame, std::string detail);
    static GPUExportError noMetalDevice() { return {Kind::noMetalDevice, 0, {}}; }
    static GPUExportError textureAllocFailed() { return {Kind::textureAllocFailed, 0, {}}; }
    static GPUExportError cancelled() { return {Kind::cancelled, 0, {}}; }

    Kind kind() const noexcept { return kind_; }
    std::string errorDescription() const { return what(); } ///< A sentence for a person.
    std::string textualForm() const; ///< The case with its payload: `appendFailed(3, "The disk is full")`.

    bool operator==(const GPUExportError& other) const
    {
        return kind_ == other.kind_ && number_ == other.number_ && text_ == other.text_;
    }

private:
    GPUExportError(Kind kind, std::int64_t number, std::string text);

    Kind kind_;
    std::int64_t number_; ///< A status, or a frame.
    std::string text_;
};

/// The second exporter: it composites each frame from a tree of nodes, of which only what changes is painted. Its films are those
/// of `Exporter`, but for what FramePlan and transitionLayer say, and for its blur.
namespace ExporterGPU {

/// Writes `scene` as an MP4 file: as many frames as its duration has, from `startTime` on, so that the last ones show what holds
/// at its end. Returns when the file is whole. Throws GPUExportError, and Exporter::ExportError where sound cannot be laid beside.
///
/// File, sound, progress and what a cancel keeps are as with `Exporter::exportMP4`. Each frame is the mean of as many pictures as
/// `motionBlurSamples` says, of one where that is below 2, whether anything moves or not.
void exportMP4(const TweenScene& scene, const std::string& path, double startTime,
               const std::optional<Exporter::ExportAudio>& audio, const std::vector<Exporter::VideoAudioClip>& videoAudioClips,
               const Exporter::ExportOptions& options);

/// Writes all scenes, joined, as an MP4 file of the first one's size and rate.
void exportMP4(const Array<TweenScene>& scenes, const std::string& path, const std::optional<Exporter::ExportAudio>& audio,
               const std::vector<Exporter::VideoAudioClip>& videoAudioClips, const Exporter::ExportOptions& options);

/// Writes the silent film of a scene, without blur, and returns how many seconds that took.
double exportPhase0(const TweenScene& scene, const std::string& path, double startTime, double outputScale);

} // namespace ExporterGPU

} // namespace larkspool
