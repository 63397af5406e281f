// SPDX-License-Identifier: MIT
#include "all-controls/all_controls_window.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHideEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

#include "widgets/localized_text.h"
#include "widgets/panel_look.h"

namespace tavelo {
namespace {

constexpr int contentsWidth = 660;
constexpr double mostOfScreen = 0.85; // of its height, at first

QString ownStyleSheet() {
    return QStringLiteral(
        "QDialog { border: none; } #contents { background: @panel; } "
        "#groupTitle { font-size: @large; font-weight: bold; } "
        "#note { color: @quiet; font-size: @small; }");
}

} // namespace

AllControlsWindow::AllControlsWindow(const Bundle& bundle, QWidget* parent)
    : QDialog(parent),
      bundle_(bundle),
      scroll_(new QScrollArea) {
    setObjectName(QStringLiteral("allControls"));
    applyPanelLook(*this, ownStyleSheet());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    scroll_->setWidgetResizable(true);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setFocusPolicy(Qt::NoFocus);
    layout->addWidget(scroll_, 1);
    makeButtons(*layout);
    retranslate();
}

QString AllControlsWindow::text(std::string_view key) const {
    return localizedText(bundle_, key);
}

void AllControlsWindow::makeButtons(QVBoxLayout& layout) {
    auto* row = new QHBoxLayout;
    row->setContentsMargins(24, 14, 24, 16);
    row->setSpacing(12);
    const auto add = [row](const char* name) {
        auto* button = new QPushButton;
        button->setObjectName(QLatin1String(name));
        button->setAutoDefault(false); // Enter belongs to the number fields
        row->addWidget(button);
        return button;
    };
    row->addStretch(1);
    defaults_ = add("defaults");
    sendAll_ = add("sendAll");
    connect(defaults_, &QPushButton::clicked, this, &AllControlsWindow::defaultsChosen);
    connect(sendAll_, &QPushButton::clicked, this, &AllControlsWindow::sendAllChosen);
    layout.addLayout(row);
}

void AllControlsWindow::addModel(ControlModel& model) {
    models_.push_back(&model);
    connect(&model, &ControlModel::changed, this, &AllControlsWindow::showModels);
    showModels();
}

void AllControlsWindow::setCameraName(const QString& name) {
    cameraName_ = name;
    const QString title = text("All_controls");
    setWindowTitle(name.isEmpty() ? title : QStringLiteral("%1 – %2").arg(title, name));
}

void AllControlsWindow::setWalking(bool walking) {
    isWalking_ = walking;
    for (QPushButton* button : {defaults_, sendAll_})
        button->setEnabled(!isWalking_ && !lines_.empty());
}

void AllControlsWindow::retranslate() {
    defaults_->setText(text("Defaults"));
    sendAll_->setText(text("Send_all"));
    setCameraName(cameraName_);
    rebuild(shownGroups());
}

std::vector<AllControlsWindow::Shown> AllControlsWindow::shownGroups() const {
    std::vector<Shown> all;
    for (ControlModel* model : models_)
        for (ControlGroup& group : model->groups())
            all.push_back({model, std::move(group)});
    return all;
}

bool AllControlsWindow::hasSameShape(const std::vector<Shown>& groups) const {
    QStringList titles;
    std::size_t count = 0;
    for (const Shown& shown : groups) {
        titles += shown.group.title;
        for (const ControlDescription& control : shown.group.controls) {
            if (count == lines_.size() || !lines_[count]->control().hasSameShape(control)) return false;
            ++count;
        }
    }
    return count == lines_.size() && titles == groupTitles_;
}

void AllControlsWindow::showModels() {
    if (wasFitted_ && !isVisible()) return; // until it is shown again
    const std::vector<Shown> groups = shownGroups();
    if (!hasSameShape(groups)) return rebuild(groups);
    auto line = lines_.begin();
    for (const Shown& shown : groups)
        for (const ControlDescription& control : shown.group.controls)
            (*line++)->show(control);
}

void AllControlsWindow::rebuild(const std::vector<Shown>& groups) {
    const int scrolled = scroll_->verticalScrollBar()->value();
    const QString focused = focusedKey();
    // A field reports a half-typed number when it loses the focus, and the camera may be another one by then.
    for (ControlLine* line : lines_)
        line->disconnect(this);
    lines_.clear();
    groupTitles_.clear();
    auto* contents = new QWidget;
    contents->setObjectName(QStringLiteral("contents"));
    auto* layout = new QVBoxLayout(contents);
    layout->setContentsMargins(24, 18, 24, 18);
    layout->setSpacing(20);
    for (const Shown& shown : groups) {
        groupTitles_ += shown.group.title;
        layout->addWidget(makeGroup(shown, *contents));
    }
    if (groups.empty()) {
        auto* none = new QLabel(text("No_controls"));
        none->setWordWrap(true);
        none->setAlignment(Qt::AlignCenter);
        layout->addWidget(none);
    }
    layout->addStretch(1);
    // A line may be in the middle of its own signal.
    if (QWidget* former = scroll_->takeWidget()) {
        former->hide();
        former->deleteLater();
    }
    scroll_->setWidget(contents);
    contents->show();
    scroll_->verticalScrollBar()->setValue(scrolled);
    setWalking(isWalking_);
    if (lines_.empty()) return;
    focusLine(focused);
    fitContents();
}

QString AllControlsWindow::focusedKey() const {
    const QWidget* focused = focusWidget();
    const auto line = std::ranges::find_if(lines_, [focused](const ControlLine* each) {
        return focused != nullptr && each->isAncestorOf(focused);
    });
    return line != lines_.end() ? (*line)->control().key : QString();
}

/// The control with that key, or the first one that can be changed.
void AllControlsWindow::focusLine(const QString& key) {
    auto line =
        std::ranges::find_if(lines_, [&key](const ControlLine* each) { return each->control().key == key; });
    if (line == lines_.end())
        line = std::ranges::find_if(lines_,
                                    [](const ControlLine* each) { return each->control().setBy.isEmpty(); });
    if (line != lines_.end()) (*line)->firstPart()->setFocus();
}

QWidget* AllControlsWindow::makeGroup(const Shown& shown, QWidget& contents) {
    auto* group = new QWidget(&contents);
    auto* layout = new QVBoxLayout(group);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    auto* title = new QLabel(shown.group.title);
    title->setObjectName(QStringLiteral("groupTitle"));
    title->setTextFormat(Qt::PlainText);
    layout->addWidget(title);
    const ControlLineTexts texts{text("Set_by"), text("Default_value")};
    for (const ControlDescription& control : shown.group.controls) {
        auto* line = new ControlLine(control, texts, group);
        connect(line, &ControlLine::chosen, this,
                [this, model = shown.model, line](std::int64_t value, bool held) {
                    write(*model, *line, value, held);
                });
        layout->addWidget(line);
        lines_.push_back(line);
    }
    group->setAccessibleName(shown.group.title);
    return group;
}

void AllControlsWindow::write(ControlModel& model, ControlLine& line, std::int64_t value, bool held) {
    if (!model.write(line.control().key, value, held)) line.showRefusal();
}

// Once, as high as the controls need, if the screen is.
void AllControlsWindow::fitContents() {
    if (wasFitted_) return;
    wasFitted_ = true;
    const int wanted = scroll_->widget()->sizeHint().height() + 64;
    const int most = screen() != nullptr
                         ? static_cast<int>(screen()->availableGeometry().height() * mostOfScreen)
                         : wanted;
    resize(scaled(contentsWidth), std::min(wanted, most));
}

void AllControlsWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) Q_EMIT activated();
    QDialog::changeEvent(event);
}

void AllControlsWindow::showEvent(QShowEvent* event) {
    showModels();
    QDialog::showEvent(event);
}

void AllControlsWindow::hideEvent(QHideEvent* event) {
    QDialog::hideEvent(event);
    if (!event->spontaneous()) Q_EMIT closed();
}

} // namespace tavelo
