#include "views/layer_sheets.h"

#include "canvas/layer_tree_operations.h"
#include "canvas/mix_match.h"
#include "editing/scene_lookup.h"
#include "views/crop_editor_view.h"
#include "views/mix_match_view.h"
#include "views/replace_font_view.h"

#include <utility>

namespace larkspool {

LayerSheets::LayerSheets(QWidget& window, Services services) : window_(window), services_(std::move(services)) {}

LayerSheets::~LayerSheets()
{
    delete sheet_.data();
}

void LayerSheets::open(Command command)
{
    if (isOpen()) return;
    const EditorState& state = services_.editor.state();
    switch (command) {
    case Command::mixAndMatch: return show(openMixAndMatch());
    case Command::replaceFont: return show(openReplaceFont());
    case Command::showCropEditor:
        if (const auto request = cropEditorRequest(state.scene(), state.selectedLayerIDs)) open(*request);
        return;
    default: return;
    }
}

void LayerSheets::open(const CropEditorRequest& request)
{
    if (!isOpen()) show(openCropEditor(request));
}

void LayerSheets::show(FormSheet* sheet)
{
    if (!sheet) return;
    sheet_ = sheet;
    services_.playback.setPlaying(false);
    services_.changed();
}

bool LayerSheets::take(Command command) const
{
    return isOpen() && (command == Command::undo || command == Command::redo);
}

void LayerSheets::close()
{
    while (isOpen()) sheet_->cancelled(); // A drag in it ends first.
}

void LayerSheets::dismiss()
{
    if (FormSheet* const done = sheet_) {
        sheet_.clear();
        done->dismiss();
    }
    services_.changed();
}

FormSheet* LayerSheets::openMixAndMatch()
{
    EditorView& editor = services_.editor;
    const EditorState& state = editor.state();
    auto* view = new MixMatchSheetView(
        window_, editor.defaults(),
        {.scene = state.scene(),
         .selection = state.selectedLayerIDs,
         .playhead = state.playhead,
         .videos = services_.videos ? services_.videos() : nullptr},
        {.apply =
             [&editor](const MixMatchSettings& settings, RandomSource& random) {
                 editor.perform(applyMixAndMatch(editor.scene(), editor.state().selectedLayerIDs, settings, random));
             },
         .closed = [this] { dismiss(); }});
    view->present();
    return view;
}

FormSheet* LayerSheets::openReplaceFont()
{
    EditorView& editor = services_.editor;
    auto* view = new ReplaceFontSheetView(window_, {editor.scene(), editor.state().selectedLayerIDs},
                                          {.apply =
                                               [&editor](const std::string& fontName, const std::string& replacement) {
                                                   editor.perform(replaceFont(editor.scene(), fontName, replacement));
                                               },
                                           .closed = [this] { dismiss(); }});
    view->present();
    return view;
}

FormSheet* LayerSheets::openCropEditor(const CropEditorRequest& request)
{
    EditorView& editor = services_.editor;
    const TweenScene scene = editor.scene();
    if (!crop_.open(request.layerID, request.freshToggle, scene)) return nullptr;
    const Layer layer = *findLayer(scene, request.layerID);
    const TweenScene found = services_.document().scene();
    const Layer* media = findLayer(found, request.layerID);
    CropEditorSheet sheet(
        layer,
        [this, &editor](const CGRect& crop) {
            editor.perform(crop_.done(crop, editor.scene()));
            dismiss();
        },
        [this] {
            crop_.cancel(); // Nothing of the sheet has reached the scene.
            dismiss();
        });
    auto* view = new CropEditorSheetView(
        window_, std::move(sheet),
        {.tasks = services_.tasks, .preview = [media = media ? *media : layer] { return cropPreview(media); }});
    view->present();
    return view;
}

} // namespace larkspool
