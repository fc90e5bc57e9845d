#include "shell/document_saver.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

namespace larkspool {

namespace {

/// The same for all names of one file.
std::string placeOf(const std::string& path)
{
    std::error_code unknown;
    const std::filesystem::path place = std::filesystem::weakly_canonical(path, unknown);
    return unknown ? path : place.string();
}

} // namespace

struct DocumentSaver::Save {
    std::shared_ptr<DocumentFile> file;
    DocumentWriting writing; ///< While it runs the worker's alone, but for the document, which neither of them changes.
    std::string path, place;
    Ended ended;
    std::optional<std::string> failure{};
    bool isRunning = false;

    bool goesBefore(const Save& later) const { return file == later.file || place == later.place; }
};

void DocumentSaver::save(std::shared_ptr<DocumentFile> file, TweenDocument document, const std::string& path, Ended ended)
{
    leaveOutOlder(*file, path);
    saves_.push_back(std::make_shared<Save>(Save{.file = std::move(file),
                                                 .writing = {.document = std::move(document), .path = path},
                                                 .path = path,
                                                 .place = placeOf(path),
                                                 .ended = std::move(ended)}));
    startFree();
}

/// Only the last of the document's saves: behind an earlier one into this file goes one into another.
void DocumentSaver::leaveOutOlder(const DocumentFile& file, const std::string& path)
{
    const Save* older = lastOf(file);
    if (!older || older->isRunning || older->path != path) return;
    std::erase_if(saves_, [older](const std::shared_ptr<Save>& save) { return save.get() == older; });
}

const DocumentSaver::Save* DocumentSaver::lastOf(const DocumentFile& file) const
{
    const Save* last = nullptr;
    for (const std::shared_ptr<Save>& save : saves_)
        if (save->file.get() == &file) last = save.get();
    return last;
}

bool DocumentSaver::isSaving(const DocumentFile& file) const
{
    return lastOf(file) != nullptr;
}

const std::string& DocumentSaver::pathToBe(const DocumentFile& file) const
{
    const Save* last = lastOf(file);
    return last ? last->path : file.path();
}

const TweenDocument& DocumentSaver::savedToBe(const DocumentFile& file) const
{
    const Save* last = lastOf(file);
    return last ? last->writing.document : file.saved();
}

void DocumentSaver::startFree()
{
    for (auto save = saves_.begin(); save != saves_.end(); ++save) {
        const auto isInTheWay = [&](const std::shared_ptr<Save>& earlier) { return earlier->goesBefore(**save); };
        if (!(*save)->isRunning && std::none_of(saves_.begin(), save, isInTheWay)) start(*save);
    }
}

void DocumentSaver::start(std::shared_ptr<Save> save)
{
    save->isRunning = true;
    save->writing = save->file->writing(std::move(save->writing.document), save->path);
    std::function<void()> write = [this, save = std::move(save), onMain = tasks_.onMain]() mutable {
        try {
            save->writing.write();
        } catch (const std::exception& error) {
            save->failure = error.what();
        }
        onMain([this, save = std::move(save)] { finish(save); });
    };
    try {
        tasks_.detach(write);
    } catch (const std::system_error&) {
        write(); // There is no thread to be had. The window stands still, but the document is saved.
    }
}

void DocumentSaver::finish(const std::shared_ptr<Save>& save)
{
    std::erase(saves_, save);
    save->file->note(std::move(save->writing));
    startFree(); // Before a person is told, who may take long to read it.
    save->ended(save->path, save->failure);
}

} // namespace larkspool
