#include "views/menus.h"

#include "views/icons.h"
#include "views/theme.h"

#include <QAction>
#include <QFileInfo>

#include <map>

namespace larkspool {

namespace {

constexpr int markSize = 20;

QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// As a menu shows it letter by letter: an ampersand alone would underline what comes after.
QString literal(QString text)
{
    return text.replace('&', "&&");
}

void allow(QAction& action, const CommandAvailability& availability)
{
    action.setEnabled(availability.isEnabled);
    action.setToolTip(words(availability.reason));
}

} // namespace

Menus::Menus(QMenuBar& bar, Steps steps) : steps_(std::move(steps))
{
    std::map<Menu, QMenu*> menus;
    for (const Menu menu : {Menu::application, Menu::file, Menu::edit, Menu::view, Menu::timeline, Menu::arrange, Menu::insert}) {
        menus[menu] = bar.addMenu(words(menuTitle(menu)));
        menus[menu]->setToolTipsVisible(true);
        QObject::connect(menus[menu], &QMenu::aboutToShow, menus[menu], [this] {
            if (steps_.aboutToShow) steps_.aboutToShow();
        });
    }
    // The program's own menu is under its mark.
    menus[Menu::application]->menuAction()->setIcon(QIcon(iconPixmap("mark", markSize, theme().accent, bar.devicePixelRatioF())));
    for (const CommandInfo& info : allCommands())
        if (info.menu != Menu::none) addCommand(*menus[info.menu], info);
    addInsertions(*menus[Menu::insert]);
}

void Menus::addCommand(QMenu& menu, const CommandInfo& info)
{
    if (info.startsSection) menu.addSeparator();
    if (info.command == Command::insertLayerOfKind) return;
    QAction* action = menu.addAction(literal(words(info.title)));
    QList<QKeySequence> keys;
    if (info.shortcut) keys << QKeySequence(QString::fromStdString(portableText(*info.shortcut)));
    if (info.alternative) keys << QKeySequence(QString::fromStdString(portableText(*info.alternative)));
    action->setShortcuts(keys);
    QObject::connect(action, &QAction::triggered, action, [this, command = info.command] { steps_.perform(command); });
    actions_.emplace_back(info.command, action);
    if (info.command == Command::openDocument) addRecents(menu);
}

void Menus::addRecents(QMenu& menu)
{
    QMenu* recents = menu.addMenu("Open Recent");
    recents->setToolTipsVisible(true);
    QObject::connect(recents, &QMenu::aboutToShow, recents, [this, recents] {
        recents->clear();
        for (const std::string& path : steps_.recentDocuments()) {
            QAction* action = recents->addAction(literal(QFileInfo(QString::fromStdString(path)).completeBaseName()));
            action->setToolTip(QString::fromStdString(path));
            QObject::connect(action, &QAction::triggered, action, [this, path] { steps_.openDocument(path); });
        }
        if (recents->isEmpty()) recents->addAction("No Recent Documents")->setEnabled(false);
    });
}

void Menus::addInsertions(QMenu& menu)
{
    QMenu* layers = menu.addMenu(words(insertLayerMenuTitle));
    layers->setToolTipsVisible(true);
    const auto add = [this](QMenu& to, const InsertItem& item) {
        QAction* action = to.addAction(literal(words(item.title)));
        QObject::connect(action, &QAction::triggered, action, [this, &item] { steps_.insert(item.insertion); });
        insertions_.push_back(action);
    };
    for (const InsertItem& item : insertItems()) add(*layers, item);
    QMenu* cursors = layers->addMenu(words(cursorMenuTitle));
    cursors->setToolTipsVisible(true);
    for (const InsertItem& item : insertCursorItems()) add(*cursors, item);
}

void Menus::refresh(const CommandContext& context, const UserDefaults& defaults)
{
    for (const auto& [command, action] : actions_) {
        allow(*action, availability(command, context));
        action->setText(literal(QString::fromStdString(commandTitle(command, context))));
        if (const std::optional<bool> isOn = isChecked(command, defaults)) {
            action->setCheckable(true);
            action->setChecked(*isOn);
        }
    }
    for (QAction* action : insertions_) allow(*action, availability(Command::insertLayerOfKind, context));
}

} // namespace larkspool
