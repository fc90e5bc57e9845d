#include "editing/numeric_field_undo_gate.h"
#include "views/inspector_view.h"
#include "views/inspector_words.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QPlainTextEdit>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

constexpr int textHeight = 64;
constexpr double textInset = 8; ///< As in the other fields.

/// The text of text layers. A visit to it is one undo step, as with numbers.
class TextField final : public QPlainTextEdit {
public:
    TextField(NumericFieldUndoGate gate, QWidget* parent) : QPlainTextEdit(parent), gate_(std::move(gate))
    {
        setFrameShape(NoFrame);
        setFixedHeight(textHeight);
        setFont(textFont(TextStyle::body));
        setTabChangesFocus(true);
        setAccessibleName("Text");
        viewport()->setAutoFillBackground(false);
        setContentsMargins(0, 0, 0, 0);
        document()->setDocumentMargin(textInset);
    }

protected:
    void focusInEvent(QFocusEvent* event) override
    {
        if (event->reason() != Qt::PopupFocusReason) gate_.gainFocus();
        QPlainTextEdit::focusInEvent(event);
    }
    void focusOutEvent(QFocusEvent* event) override
    {
        QPlainTextEdit::focusOutEvent(event);
        if (event->reason() != Qt::PopupFocusReason) gate_.loseFocus();
    }
    bool event(QEvent* event) override
    {
        if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
            event->accept();
            return true;
        }
        return QPlainTextEdit::event(event);
    }
    void keyPressEvent(QKeyEvent* event) override
    {
        if (event->key() != Qt::Key_Escape) return QPlainTextEdit::keyPressEvent(event);
        gate_.exitCommand();
        clearFocus();
    }
    void paintEvent(QPaintEvent* event) override
    {
        {
            QPainter painter(viewport());
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(hasFocus() ? QPen(theme().focusRing, 1.5) : QPen(Qt::NoPen));
            painter.fillRect(viewport()->rect(), theme().panel);
            painter.setBrush(hasFocus() ? theme().fieldFocus : theme().field);
            painter.drawRoundedRect(QRectF(viewport()->rect()).adjusted(0.75, 0.75, -0.75, -0.75), 4, 4);
        }
        QPlainTextEdit::paintEvent(event);
    }

private:
    NumericFieldUndoGate gate_;
};

} // namespace

QWidget* InspectorView::textField()
{
    auto* field = new TextField(undoGate(), body_);
    connect(field, &QPlainTextEdit::textChanged, this, [this, field] {
        if (!field->hasFocus()) return;
        mutate("Edit Text",
               [&](TweenScene& scene) { Inspector::writeText(scene, shown_.layerIDs, field->toPlainText().toStdString()); });
    });
    refreshers_.push_back([this, field] {
        const bool isMixed = Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::text);
        const QString text = isMixed ? QString() : words(shown_.first().text);
        field->setPlaceholderText(isMixed ? words(Inspector::mixedText) : QString());
        if (field->toPlainText() == text) return;
        const QSignalBlocker silent(field);
        field->setPlainText(text);
    });
    return field;
}

void InspectorView::fillFontMenu(QMenu& menu, const std::function<void(const QString& family)>& choose)
{
    menu.addAction(words(commandInfo(Command::replaceFont).title), this, [this] { context_.perform(Command::replaceFont); });
    menu.addSeparator();
    menu.addAction("System Font", this, [choose] { choose({}); });
    for (const QString& family : QFontDatabase::families()) menu.addAction(family, this, [choose, family] { choose(family); });
}

MenuField* InspectorView::fontMenu()
{
    auto* font = new MenuField("Font", FieldBox::HasDiamond::yes, body_);
    const auto choose = [this](const QString& family) {
        mutate("Edit Font", [&](TweenScene& scene) {
            Inspector::upsertHelper(scene, shown_.layerIDs, Property::fontName, SharedString(family.toStdString()), shown_.how);
        });
        context_.editor.defaults().set(DefaultsKey::lastUsedFontName, family.toStdString());
    };
    font->fill = [this, choose](QMenu& menu) { fillFontMenu(menu, choose); };
    refreshers_.push_back([this, font] {
        const bool isMixed = Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::fontName);
        font->showWords(isMixed ? words(Inspector::mixedText) : fontWords(shown_.first().fontName));
    });
    withDiamond(font, Property::fontName);
    return font;
}

void InspectorView::buildText()
{
    QVBoxLayout* rows = addSection("Text");
    rows->addWidget(textField());
    addRow(rows, "Font", {fontMenu()});
    addHalfRow(rows, "Font Size", propertyField(Property::fontSize, {}));
    addRow(rows, "Color", {colorField(Property::textColor)});
    addRow(rows, "Align",
           {fieldSegments("Text Alignment", "Text Alignment",
                          {{"Left", "text-left"}, {"Center", "text-center"}, {"Right", "text-right"}}, &Layer::textAlignment),
            fieldSegments("Vertical Text Alignment", "Text Alignment",
                          {{"Top", "text-top"}, {"Center", "text-middle"}, {"Bottom", "text-bottom"}},
                          &Layer::textVerticalAlignment)});
    const auto padding = [this](const char* name, const char* letter, double Layer::* side) {
        return plainField(
            name, {.name = {}, .letter = letter}, [side](const Layer& layer) { return layer.*side; },
            [side](Layer& layer, double value) { layer.*side = std::max(value, 0.0); });
    };
    addRow(rows, "Padding", {padding("Padding X", "X", &Layer::textPadX), padding("Padding Y", "Y", &Layer::textPadY)});
    addRow(rows, "Fit to Text", {switchRow("Fit to Text", &Layer::textAutoFit)});
    addRow(rows, "Harmonize", {switchRow("Text Color Harmony", &Layer::textColorHarmonize)});
    addRow(rows, "Blinking Caret", {switchRow("Blinking Caret", &Layer::textCursorBlinks)});
}

} // namespace larkspool
