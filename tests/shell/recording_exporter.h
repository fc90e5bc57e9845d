#pragma once

#include "shell/film_export.h"

#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace larkspool {

/// Writes down what it is asked for, and makes a small file of it.
class RecordingExporter {
public:
    struct Call {
        bool allScenes = false;
        std::vector<TweenScene> scenes;
        std::string path;
        double startTime = 0;
        std::optional<Exporter::ExportAudio> audio;
        std::vector<Exporter::VideoAudioClip> clips;
        int motionBlurSamples = 0;
        double outputScale = 0;
    };

    FilmExporter exporter()
    {
        return {.exportScene =
                    [this](const TweenScene& scene, const std::string& path, double startTime, const auto& audio, const auto& clips,
                           const Exporter::ExportOptions& options) {
                        run({false, {scene}, path, startTime, audio, clips, options.motionBlurSamples, options.outputScale}, options);
                    },
                .exportScenes =
                    [this](const Array<TweenScene>& scenes, const std::string& path, const auto& audio, const auto& clips,
                           const Exporter::ExportOptions& options) {
                        run({true, {scenes.begin(), scenes.end()}, path, 0, audio, clips, options.motionBlurSamples,
                             options.outputScale},
                            options);
                    },
                .isCancel = FilmExporter::reference().isCancel};
    }

    std::vector<Call> calls;
    /// Done behind the writing of the file; may throw as an exporter does.
    std::function<void(const Exporter::ExportOptions&)> during = [](const Exporter::ExportOptions&) {};

private:
    void run(Call call, const Exporter::ExportOptions& options)
    {
        calls.push_back(std::move(call));
        std::ofstream(calls.back().path) << "film " << calls.size();
        const auto step = during; // It may set another for the next call.
        step(options);
    }
};

inline void throwUserCancelled()
{
    throw Exporter::ExportError(Exporter::ExportError::Kind::userCancelled);
}

} // namespace larkspool
