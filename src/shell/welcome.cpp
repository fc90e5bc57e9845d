#include "shell/welcome.h"

#include "editing/number_input.h"
#include "foundation/json_tree.h"
#include "foundation/json_writer.h"
#include "platform/file_io.h"
#include "platform/pixel_buffer.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>

namespace larkspool {

namespace {

/// A side that a picture can have, more or less: what is typed need not be whole.
std::optional<double> parsedSide(std::string_view text)
{
    const std::optional<double> side = parsedNumber(text);
    return side && *side >= 1 && *side <= PixelBuffer::maximumSide ? side : std::nullopt;
}

} // namespace

LaunchWindow launchWindow(const UserDefaults& defaults)
{
    return defaults.boolean(DefaultsKey::suppressWelcomeAtLaunch) ? LaunchWindow::untitledDocument : LaunchWindow::welcome;
}

TweenDocument newDocument(UserDefaults& defaults)
{
    return {.scenes = TweenDocument::defaultStartingScenes(takePendingPresetSize(defaults))};
}

std::optional<CGSize> CustomSizeSheet::size() const
{
    const std::optional<double> width = parsedSide(widthText), height = parsedSide(heightText);
    if (!width || !height || !PixelBuffer::isPossible(std::llround(*width), std::llround(*height))) return std::nullopt;
    return CGSize{*width, *height};
}

bool CustomSizeSheet::create() const
{
    const std::optional<CGSize> typed = size();
    if (typed && onFinish) onFinish(typed->width, typed->height);
    return typed.has_value();
}

void CustomSizeSheet::cancel() const
{
    if (onFinish) onFinish(std::nullopt, std::nullopt);
}

void WelcomeView::createDocument(CGSize size)
{
    if (!(size.width > 0 && size.height > 0)) return; // A size that the document would not take would wait for another one.
    services_.defaults.set(DefaultsKey::pendingPresetWidth, size.width);
    services_.defaults.set(DefaultsKey::pendingPresetHeight, size.height);
    services_.openUntitledDocument();
    services_.dismissWelcome();
}

void WelcomeView::finishCustomSize(std::optional<double> width, std::optional<double> height)
{
    customSheetVisible = false;
    if (width && height) createDocument({*width, *height});
}

void WelcomeView::openRecent(const std::string& path)
{
    if (!openingPath().empty()) return;
    setOpeningPath(path);
    services_.openDocument(path, [this, alive = std::weak_ptr(openingPath_)](bool isOpen) {
        if (alive.expired()) return;
        setOpeningPath({});
        if (isOpen) services_.dismissWelcome();
    });
}

void WelcomeView::setOpeningPath(const std::string& path)
{
    *openingPath_ = path;
    if (services_.openingChanged) services_.openingChanged();
}

bool WelcomeView::showsOnLaunch() const
{
    return !services_.defaults.boolean(DefaultsKey::suppressWelcomeAtLaunch);
}

void WelcomeView::setShowsOnLaunch(bool shows)
{
    services_.defaults.set(DefaultsKey::suppressWelcomeAtLaunch, !shows);
}

RecentDocuments::RecentDocuments(std::string path) : path_(std::move(path))
{
    if (!path_.empty()) read();
}

std::string RecentDocuments::notedPath(const std::string& documentPath)
{
    std::error_code failure;
    const std::filesystem::path absolute = std::filesystem::absolute(documentPath, failure).lexically_normal();
    return failure ? documentPath : absolute.string();
}

void RecentDocuments::note(const std::string& documentPath)
{
    const std::string noted = notedPath(documentPath);
    std::erase(paths_, noted);
    paths_.insert(paths_.begin(), noted);
    if (paths_.size() > maximumCount) paths_.resize(maximumCount);
    write();
}

void RecentDocuments::remove(const std::string& documentPath)
{
    if (std::erase(paths_, notedPath(documentPath)) > 0) write();
}

void RecentDocuments::clear()
{
    paths_.clear();
    write();
}

std::string RecentDocuments::recentDocumentsPath()
{
    const std::filesystem::path settings = FileUserDefaults::userDefaultsPath();
    return settings.empty() ? std::string() : (settings.parent_path() / "recent-documents.json").string();
}

void RecentDocuments::read()
{
    try {
        const std::vector<std::uint8_t> bytes = readWholeFile(path_);
        const JsonTree tree(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
        for (const JsonValue& element : tree.root().elements()) {
            const std::optional<std::string_view> text = element.string();
            if (!text || !text->starts_with('/') || text->find('\0') != text->npos) continue;
            if (std::ranges::find(paths_, *text) == paths_.end()) paths_.emplace_back(*text);
            if (paths_.size() == maximumCount) break;
        }
    } catch (const FileError&) {
        // No list yet.
    } catch (const JsonSyntaxError&) {
        // A damaged list is no reason not to start. The next change replaces it.
    }
}

void RecentDocuments::write() const
{
    if (path_.empty()) return;

    JsonWriter writer;
    writer.beginArray();
    for (const std::string& path : paths_) writer.string(path);
    writer.endArray();
    try {
        makePrivateFolder(std::filesystem::path(path_).parent_path().string());
        replaceFileAtomically(path_, writer.take());
    } catch (const FileError&) {
        // The list holds until the program ends. It is a convenience: nobody is bothered about it.
    }
}

} // namespace larkspool
