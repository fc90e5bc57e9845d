#include "views/theme.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <map>
#include <stdexcept>
#include <utility>

/// The resources' start may only be asked for outside of every namespace.
static void openLook()
{
    Q_INIT_RESOURCE(look);
}

namespace larkspool {

namespace {

struct Role {
    const char* name;
    QColor Theme::*color;
};

constexpr Role roles[] = {
    {"backdrop", &Theme::backdrop}, {"window", &Theme::window}, {"panel", &Theme::panel}, {"raised", &Theme::raised},
    {"overlay", &Theme::overlay}, {"field", &Theme::field}, {"fieldHover", &Theme::fieldHover},
    {"fieldFocus", &Theme::fieldFocus}, {"hover", &Theme::hover}, {"pressed", &Theme::pressed},
    {"hairline", &Theme::hairline}, {"hairlineStrong", &Theme::hairlineStrong}, {"controlBorder", &Theme::controlBorder},
    {"text", &Theme::text}, {"textSecondary", &Theme::textSecondary}, {"textDisabled", &Theme::textDisabled},
    {"textOnAccent", &Theme::textOnAccent}, {"icon", &Theme::icon}, {"iconDisabled", &Theme::iconDisabled},
    {"accent", &Theme::accent}, {"accentHover", &Theme::accentHover}, {"accentPressed", &Theme::accentPressed},
    {"accentText", &Theme::accentText}, {"accentSoft", &Theme::accentSoft}, {"accentSoftHover", &Theme::accentSoftHover},
    {"selection", &Theme::selection}, {"selectionInactive", &Theme::selectionInactive},
    {"selectionOutline", &Theme::selectionOutline}, {"focusRing", &Theme::focusRing}, {"danger", &Theme::danger},
    {"dangerHover", &Theme::dangerHover}, {"dangerPressed", &Theme::dangerPressed}, {"dangerText", &Theme::dangerText},
    {"dangerSoft", &Theme::dangerSoft}, {"success", &Theme::success}, {"successSoft", &Theme::successSoft},
    {"warning", &Theme::warning}, {"warningSoft", &Theme::warningSoft}, {"playhead", &Theme::playhead},
    {"playheadText", &Theme::playheadText}, {"span", &Theme::span}, {"spanFill", &Theme::spanFill},
    {"spanFillHover", &Theme::spanFillHover}, {"spanText", &Theme::spanText}, {"spanEffect", &Theme::spanEffect},
    {"keyframe", &Theme::keyframe}, {"keyframeSoft", &Theme::keyframeSoft}, {"keyframeLine", &Theme::keyframeLine},
    {"wait", &Theme::wait}, {"waitFill", &Theme::waitFill}, {"waitText", &Theme::waitText}, {"pulse", &Theme::pulse},
    {"pulseSoft", &Theme::pulseSoft}, {"clip", &Theme::clip}, {"clipFill", &Theme::clipFill},
    {"clipFillHover", &Theme::clipFillHover}, {"clipText", &Theme::clipText}, {"clipEffect", &Theme::clipEffect},
    {"guideScene", &Theme::guideScene}, {"guideLayer", &Theme::guideLayer}, {"guideText", &Theme::guideText},
    {"laneEven", &Theme::laneEven}, {"laneSelected", &Theme::laneSelected}, {"railBackground", &Theme::railBackground},
    {"tick", &Theme::tick}, {"tickText", &Theme::tickText}, {"snapLine", &Theme::snapLine},
    {"marqueeFill", &Theme::marqueeFill}, {"scrim", &Theme::scrim}, {"shadow", &Theme::shadow},
};

/// The names that the styles have in the tokens, in their order.
constexpr const char* styleNames[] = {"tick", "barLabel", "guideLabel", "caption", "gutter", "gutterLayer", "body", "value",
                                      "bodyMedium", "section", "objectName", "dialogBody", "timecode", "title", "display"};

QJsonObject readTokens()
{
    openLook();
    QFile file(":/ui/tokens.json");
    if (!file.open(QIODevice::ReadOnly)) throw std::logic_error("The tokens of the look are not in the program");
    return QJsonDocument::fromJson(file.readAll()).object();
}

const QJsonObject& tokens()
{
    static const QJsonObject read = readTokens();
    return read;
}

/// "#RRGGBB", or an object with that and an alpha.
QColor colorFrom(const QJsonValue& value)
{
    if (value.isString()) return QColor(value.toString());
    QColor color(value.toObject().value("rgb").toString());
    color.setAlphaF(static_cast<float>(value.toObject().value("alpha").toDouble(1)));
    return color;
}

Theme themeOf(Theme::Scheme scheme)
{
    const QJsonObject colors = tokens().value("color").toObject().value(scheme == Theme::Scheme::dark ? "dark" : "light").toObject();
    Theme theme{.scheme = scheme};
    for (const Role& role : roles) {
        theme.*role.color = colorFrom(colors.value(role.name));
        if (!(theme.*role.color).isValid()) throw std::logic_error(std::string("The look has no colour ") + role.name);
    }
    return theme;
}

Theme& currentTheme()
{
    static Theme theme = themeOf(Theme::Scheme::dark);
    return theme;
}

QFont fontOf(TextStyle style)
{
    const QJsonObject type = tokens().value("type").toObject();
    const QJsonObject row = type.value("styles").toObject().value(styleNames[static_cast<std::size_t>(style)]).toObject();
    QFont font(row.value("family").toString() == "mono" ? "DejaVu Sans Mono" : type.value("family").toString());
    font.setPixelSize(row.value("size").toInt());
    font.setWeight(QFont::Weight(row.value("weight").toInt()));
    font.setHintingPreference(QFont::PreferNoHinting);
    if (row.contains("tracking")) font.setLetterSpacing(QFont::AbsoluteSpacing, row.value("tracking").toDouble());
    return font;
}

} // namespace

const Theme& theme()
{
    return currentTheme();
}

void chooseTheme(Theme::Scheme scheme)
{
    currentTheme() = themeOf(scheme);
}

QFont textFont(TextStyle style)
{
    static std::map<TextStyle, QFont> fonts;
    const auto known = fonts.find(style);
    return known != fonts.end() ? known->second : fonts.emplace(style, fontOf(style)).first->second;
}

} // namespace larkspool
