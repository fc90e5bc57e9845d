#include "views/preferences_window.h"

#include "views/controls.h"
#include "views/form_controls.h"
#include "views/icons.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QStackedWidget>
#include <QStyleOption>

#include <utility>

namespace larkspool {

namespace {

using PreferencesView::Tab;

constexpr QSize windowSize(464, 312), tabSize(88, 52);
constexpr int headHeight = 76, padding = 24, labelColumn = 64, rowGap = 20;
constexpr const char* tabIcons[] = {"panel-scenes", "export", "assistant"};
constexpr std::string_view launchNote = "When this is off, a launch opens an empty document.";

QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// An icon over the name of a page.
class TabButton final : public OneOfSeveral {
public:
    TabButton(const QString& name, QString icon, QWidget* parent) : OneOfSeveral(name, parent), icon_(std::move(icon))
    {
        setFixedSize(tabSize);
        QFont font = textFont(TextStyle::caption);
        font.setWeight(QFont::Medium);
        setFont(font);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QStyleOption option;
        option.initFrom(this);
        if (isChecked() || underMouse()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(isChecked() ? t.accentSoft : t.hover);
            painter.drawRoundedRect(rect(), 8, 8);
        }
        const QColor iconColor = isChecked() ? t.accentText : t.icon;
        painter.drawPixmap((width() - 20) / 2, 7, iconPixmap(icon_, 20, iconColor, devicePixelRatioF()));
        painter.setPen(isChecked() ? t.accentText : t.textSecondary);
        painter.setFont(font());
        painter.drawText(rect().adjusted(0, 31, 0, -7), Qt::AlignCenter, text());
        if (!hasFocus() || !(option.state & QStyle::State_KeyboardFocusChange)) return;
        painter.setPen(QPen(t.focusRing, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(rect().adjusted(1, 1, -1, -1), 8, 8);
    }

private:
    QString icon_;
};

/// Shows the secret in the field while it is on. The keyboard reaches it behind the field.
void addRevealButton(QLineEdit& secret)
{
    constexpr int side = 24, inset = 2;
    auto* inside = new QHBoxLayout(&secret);
    inside->setContentsMargins(0, 0, inset, 0);
    inside->addStretch(1);
    QToolButton* reveal = iconButton("eye", "Show the key", &secret, side);
    reveal->setCheckable(true);
    reveal->setProperty("quiet", true); // Its icon tells enough.
    reveal->setCursor(Qt::ArrowCursor);
    inside->addWidget(reveal);
    QMargins text = secret.textMargins();
    text.setRight(side + inset);
    secret.setTextMargins(text);
    QObject::connect(reveal, &QToolButton::toggled, &secret, [&secret, reveal](bool isOn) {
        secret.setEchoMode(isOn ? QLineEdit::Normal : QLineEdit::Password);
        reveal->setIcon(buttonIcon(isOn ? "eye-off" : "eye"));
    });
}

} // namespace

PreferencesWindow::PreferencesWindow(UserDefaults& defaults) : defaults_(defaults)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle("Settings — Larkspool");
    setFixedSize(windowSize);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    buildTabs();
    column->addWidget(hairline(Qt::Horizontal, this));
    pages_ = new QStackedWidget(this);
    column->addWidget(pages_, 1);
    buildLaunch();
    buildExport();
    buildAssistant();
    changes_ = defaults_.observe([this](std::string_view) {
        for (const auto& show : shows_) show();
    });
    choose(Tab::launch);
}

void PreferencesWindow::choose(Tab tab)
{
    const int index = static_cast<int>(tab);
    tabs_->button(index)->setChecked(true);
    tabs_->button(index)->setFocus();
    pages_->setCurrentIndex(index);
}

void PreferencesWindow::keyPressEvent(QKeyEvent* event)
{
    const bool closes = event->key() == Qt::Key_Escape || event->matches(QKeySequence::Close);
    if (closes)
        close();
    else
        QWidget::keyPressEvent(event);
}

void PreferencesWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), theme().panel);
    painter.fillRect(0, 0, width(), headHeight, theme().window);
}

void PreferencesWindow::buildTabs()
{
    auto* head = new QWidget(this);
    head->setFixedHeight(headHeight);
    auto* row = new QHBoxLayout(head);
    row->setContentsMargins(12, 12, 12, 12);
    row->setSpacing(4);
    row->addStretch(1);
    tabs_ = new QButtonGroup(this);
    for (std::size_t i = 0; i < PreferencesView::tabLabels.size(); ++i) {
        auto* tab = new TabButton(words(PreferencesView::tabLabels[i]), tabIcons[i], head);
        tabs_->addButton(tab, static_cast<int>(i));
        row->addWidget(tab);
    }
    row->addStretch(1);
    connect(tabs_, &QButtonGroup::idToggled, this, [this](int index, bool isOn) {
        if (isOn && pages_) pages_->setCurrentIndex(index);
    });
    layout()->addWidget(head);
}

QWidget* PreferencesWindow::addPage()
{
    auto* page = new QWidget(pages_);
    auto* column = new QVBoxLayout(page);
    const int right = padding - Switch::ringRoom; // What is drawn of a switch then ends where all the rest does.
    column->setContentsMargins(padding, padding, right, padding / 3); // The fullest page ends just above.
    column->setSpacing(rowGap);
    column->setAlignment(Qt::AlignTop);
    pages_->addWidget(page);
    return page;
}

Switch* PreferencesWindow::addSwitch(QWidget* page, std::string_view text, std::string_view note)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    auto* column = new QVBoxLayout;
    column->setSpacing(0);
    auto* toggle = new Switch(words(text), page);
    QLabel* name = label(words(text), TextStyle::dialogBody, LabelTone::text, page);
    name->setMinimumHeight(toggle->sizeHint().height()); // Level with the switch.
    column->addWidget(name);
    if (!note.empty()) {
        column->addWidget(paragraph(words(note), TextStyle::caption, LabelTone::secondary, page));
    }
    row->addLayout(column, 1);
    toggle->setAccessibleDescription(words(note));
    row->addWidget(toggle, 0, Qt::AlignTop);
    static_cast<QVBoxLayout*>(page->layout())->addLayout(row);
    return toggle;
}

void PreferencesWindow::buildLaunch()
{
    Switch* toggle = addSwitch(addPage(), PreferencesView::showWelcomeLabel, launchNote);
    keepShown([this, toggle] { toggle->setChecked(PreferencesView::showsWelcomeOnLaunch(defaults_)); });
    connect(toggle, &QCheckBox::clicked, this, [this](bool isOn) { PreferencesView::setShowsWelcomeOnLaunch(defaults_, isOn); });
}

void PreferencesWindow::buildExport()
{
    Switch* toggle = addSwitch(addPage(), PreferencesView::gpuRendererLabel, PreferencesView::gpuRendererNote);
    keepShown([this, toggle] { toggle->setChecked(defaults_.boolean(DefaultsKey::useGPUExporter)); });
    connect(toggle, &QCheckBox::clicked, this, [this](bool isOn) { defaults_.set(DefaultsKey::useGPUExporter, isOn); });
}

void PreferencesWindow::buildAssistant()
{
    QWidget* page = addPage();
    auto* column = static_cast<QVBoxLayout*>(page->layout());
    Switch* toggle = addSwitch(page, PreferencesView::enableAssistantLabel, {});
    keepShown([this, toggle] { toggle->setChecked(defaults_.boolean(DefaultsKey::assistantEnabled)); });
    connect(toggle, &QCheckBox::clicked, this, [this](bool isOn) { defaults_.set(DefaultsKey::assistantEnabled, isOn); });
    auto* line = new QHBoxLayout;
    line->setContentsMargins(0, 0, Switch::ringRoom, 0);
    line->addWidget(hairline(Qt::Horizontal, page));
    column->addLayout(line);

    const auto addRow = [page, column](std::string_view text, QWidget* field) {
        auto* row = new QHBoxLayout;
        row->setContentsMargins(0, 0, Switch::ringRoom, 0);
        row->setSpacing(16);
        QLabel* name = label(words(text), TextStyle::dialogBody, LabelTone::secondary, page);
        name->setFixedWidth(labelColumn);
        row->addWidget(name);
        row->addWidget(field, 1);
        column->addLayout(row);
    };
    QLineEdit* key = textField(words(PreferencesView::apiKeyLabel), page);
    key->setEchoMode(QLineEdit::Password);
    addRevealButton(*key);
    keepShown([this, key] {
        const QString stored = QString::fromStdString(defaults_.string(DefaultsKey::assistantAPIKey));
        if (key->text() != stored) key->setText(stored);
    });
    connect(key, &QLineEdit::textEdited, this,
            [this](const QString& text) { defaults_.set(DefaultsKey::assistantAPIKey, text.toStdString()); });
    addRow(PreferencesView::apiKeyLabel, key);

    auto* model = new ChoiceField(words(PreferencesView::modelLabel), page);
    for (const PreferencesView::ModelRow& row : PreferencesView::modelRows) model->addItem(words(row.label));
    keepShown([this, model] {
        const std::optional<std::size_t> row = PreferencesView::chosenModelRow(defaults_);
        model->setPlaceholderText(QString::fromStdString(defaults_.string(DefaultsKey::assistantModel)));
        model->setCurrentIndex(row ? static_cast<int>(*row) : -1);
    });
    connect(model, &QComboBox::activated, this,
            [this](int row) { PreferencesView::chooseModelRow(defaults_, static_cast<std::size_t>(row)); });
    addRow(PreferencesView::modelLabel, model);

    QLabel* note = paragraph(words(PreferencesView::apiKeyNote), TextStyle::caption, LabelTone::secondary, page);
    note->setContentsMargins(0, 0, Switch::ringRoom, 0);
    column->addWidget(note);
}

void PreferencesWindow::keepShown(std::function<void()> show)
{
    show();
    shows_.push_back(std::move(show));
}

} // namespace larkspool
