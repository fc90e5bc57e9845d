#pragma once

#include <QColor>
#include <QFont>

namespace larkspool {

/// The colours of the windows by their roles, as resources/ui/tokens.json has them. Everything that is painted takes its colours
/// from here.
struct Theme {
    enum class Scheme { dark, light };

    Scheme scheme = Scheme::dark;

    /// @name Surfaces.
    /// @{
    QColor backdrop, window, panel, raised, overlay, field, fieldHover, fieldFocus, hover, pressed;
    QColor hairline, hairlineStrong, controlBorder;
    /// @}
    /// @name Text and icons.
    /// @{
    QColor text, textSecondary, textDisabled, textOnAccent, icon, iconDisabled;
    /// @}
    /// @name What is chosen, and what is the main action.
    /// @{
    QColor accent, accentHover, accentPressed, accentText, accentSoft, accentSoftHover;
    QColor selection, selectionInactive, selectionOutline, focusRing;
    /// @}
    /// @name What went wrong, well, or might.
    /// @{
    QColor danger, dangerHover, dangerPressed, dangerText, dangerSoft, success, successSoft, warning, warningSoft;
    /// @}
    /// @name Time.
    /// @{
    QColor playhead, playheadText, span, spanFill, spanFillHover, spanText, spanEffect;
    QColor keyframe, keyframeSoft, keyframeLine, wait, waitFill, waitText, pulse, pulseSoft;
    QColor clip, clipFill, clipFillHover, clipText, clipEffect;
    QColor laneEven, laneSelected, railBackground, tick, tickText, snapLine;
    /// @}
    /// @name The canvas.
    /// @{
    QColor guideScene, guideLayer, guideText, marqueeFill, scrim, shadow;
    /// @}
};

/// The theme that the windows have now. On the main thread only.
const Theme& theme();

/// From here on `theme()` is that of the scheme; the caller repaints.
void chooseTheme(Theme::Scheme scheme);

/// The sizes of type, in device-independent pixels.
enum class TextStyle { tick, barLabel, guideLabel, caption, gutter, gutterLayer, body, value, bodyMedium, section, objectName,
                       dialogBody, timecode, title, display };

/// The font of a style: Inter, or what stands for it, without hinting.
QFont textFont(TextStyle style);

} // namespace larkspool
