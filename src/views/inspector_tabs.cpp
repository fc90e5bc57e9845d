#include "views/inspector_tabs.h"

#include "views/form_controls.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QStackedWidget>

namespace larkspool {

namespace {

constexpr int headHeight = 40, tabHeight = 28, padding = 12;

} // namespace

InspectorTabs::InspectorTabs(QWidget* properties, UserDefaults& defaults, QWidget* parent)
    : Surface(theme().panel, parent), defaults_(defaults)
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    head_ = new QWidget(this);
    head_->setFixedHeight(headHeight);
    auto* row = new QHBoxLayout(head_);
    row->setContentsMargins(padding, 0, padding, 0);
    choice_ = new SegmentedChoice("Inspector", {"Properties", "Assistant"}, head_, tabHeight);
    choice_->showSign(1, "assistant");
    choice_->choose(0);
    choice_->onChoice = [this](int index) { pages_->setCurrentIndex(index); };
    row->addWidget(choice_);
    column->addWidget(head_);

    pages_ = new QStackedWidget(this);
    pages_->addWidget(properties);
    QLabel* missing =
        label("The assistant is not in this version yet.", TextStyle::body, LabelTone::secondary, pages_);
    missing->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    missing->setContentsMargins(padding, 24, padding, 24);
    missing->setWordWrap(true);
    pages_->addWidget(missing);
    column->addWidget(pages_, 1);
    refresh();
}

void InspectorTabs::setAssistant(QWidget* assistant)
{
    QWidget* before = pages_->widget(1);
    const InspectorTab shown = tab();
    pages_->removeWidget(before);
    delete before;
    pages_->insertWidget(1, assistant);
    choose(shown);
}

InspectorTab InspectorTabs::tab() const
{
    return pages_->currentIndex() == 1 ? InspectorTab::assistant : InspectorTab::properties;
}

void InspectorTabs::choose(InspectorTab tab)
{
    const int index = tab == InspectorTab::assistant && isAssistantEnabled() ? 1 : 0;
    choice_->choose(index);
    pages_->setCurrentIndex(index);
}

void InspectorTabs::refresh()
{
    head_->setVisible(isAssistantEnabled());
    if (!isAssistantEnabled()) choose(InspectorTab::properties);
}

} // namespace larkspool
