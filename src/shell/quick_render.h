#pragma once

#include "foundation/uuid.h"
#include "shell/film_export.h"
#include "shell/film_task.h"
#include "shell/tasks.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace larkspool {

/// What the sheet of a quick render shows.
struct QuickRenderState {
    struct Rendering {
        double progress = 0; ///< 0...1.
        bool operator==(const Rendering&) const = default;
    };
    struct Playing {
        std::string url; ///< The path of the film.
        bool operator==(const Playing&) const = default;
    };
    struct Error {
        std::string words;
        bool operator==(const Error&) const = default;
    };
    using Phase = std::variant<Rendering, Playing, Error>;

    UUID id = UUID::random(); ///< Of this run.
    Phase phase = Rendering{};
    LiveFrame liveFrame{};
};

/// A fast look at the active scene, to be thrown away: half the size, without blur and without the sound bed, played in the
/// editor. The film of a scene that has not changed since is played again without rendering. Lives on the main thread.
class QuickRender {
public:
    /// What it asks of the world around it.
    struct Services {
        Tasks tasks;
        FilmExporter exporter = FilmExporter::reference();
        Exporter::FileExists fileExists = Exporter::fileExists;
        /// A file that is not there is no failure. Called on any thread.
        std::function<void(const std::string& path)> removeFile = removeQuietly;
        std::function<void()> changed; ///< Called after every change of the state.
    };

    enum class From { beginning, playhead };

    explicit QuickRender(Services services) : services_(std::move(services)) {}
    ~QuickRender(); ///< Stops what runs, and removes the film.
    QuickRender(const QuickRender&) = delete;
    QuickRender& operator=(const QuickRender&) = delete;

    /// Nothing while it is closed.
    const std::optional<QuickRenderState>& state() const { return state_; }

    /// Opens it for the document's active scene, and renders unless the last film still serves. Does nothing while it is open.
    /// `playhead` is seconds of the scene; at its end and beyond, rendering begins a hundredth of a second before the end.
    void startQuickRender(const TweenDocument& document, From from, double playhead);

    /// Closes it. While rendering, this stops the rendering and removes all films; later, the film stays for the next time.
    void closeQuickRender();

    /// Removes a file as far as it can be.
    static void removeQuietly(const std::string& path);

private:
    void render(const TweenScene& scene, double startTime, std::optional<std::string> fingerprint);
    void show(const FilmNews& news);
    void finish(const std::exception_ptr& error, const std::string& path, std::optional<std::string> fingerprint);
    void removeLastFilm();
    void tellChange() const;

    Services services_;
    std::optional<QuickRenderState> state_;
    std::unique_ptr<FilmTask> task_;           ///< While it renders.
    std::optional<std::string> lastFilm_;      ///< The path of the film that was rendered last.
    std::optional<std::string> lastFingerprint_; ///< Of what that film shows.
};

/// Where in a scene a quick render begins, in seconds.
double quickRenderStart(const TweenScene& scene, QuickRender::From from, double playhead);

/// Tells films apart by what they show; nothing for a scene that cannot be written down.
std::optional<std::string> quickRenderFingerprint(const TweenScene& scene, double startTime);

/// A path for a film in the system's temporary folder that no film has had. Throws writeFailed if there is no such folder.
std::string makeQuickRenderURL();

} // namespace larkspool
