#pragma once

#include "platform/user_defaults.h"
#include "shell/inspector.h"
#include "views/controls.h"

class QStackedWidget;

namespace larkspool {

class SegmentedChoice;

/// The panel at the right: the properties of what is selected and, while it is enabled, the assistant beside them in a tab of its
/// own. With the properties alone there are no tabs.
class InspectorTabs final : public Surface {
public:
    InspectorTabs(QWidget* properties, UserDefaults& defaults, QWidget* parent);

    /// Stands in the assistant's tab from then on. Until there is one, the tab tells so.
    void setAssistant(QWidget* assistant);

    InspectorTab tab() const;
    void choose(InspectorTab tab);
    bool isAssistantEnabled() const { return defaults_.boolean(DefaultsKey::assistantEnabled); }

    /// Shows which tabs there are.
    void refresh();

private:
    UserDefaults& defaults_;
    QWidget* head_ = nullptr;
    SegmentedChoice* choice_ = nullptr;
    QStackedWidget* pages_ = nullptr;
};

} // namespace larkspool
