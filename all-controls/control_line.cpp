// SPDX-License-Identifier: MIT
#include "all-controls/control_line.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <utility>

#include "widgets/focus_ring.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"
#include "widgets/panel_look.h"

namespace tavelo {
namespace {

constexpr int titleWidth = 210;
constexpr int fieldWidth = 132;
constexpr int sliderHeight = 16;
constexpr QSize switchSize(40, 20);

std::int64_t positionOf(const KTSlider& slider) {
    return std::llround(slider.floatValue());
}

} // namespace

ControlLine::ControlLine(const ControlDescription& control, ControlLineTexts texts, QWidget* parent)
    : QWidget(parent),
      control_(control),
      texts_(std::move(texts)),
      title_(new QLabel(control.title)),
      note_(new QLabel) {
    title_->setFixedWidth(scaled(titleWidth));
    title_->setWordWrap(true);
    for (QLabel* label : {title_, note_})
        label->setTextFormat(Qt::PlainText); // makers' descriptions are anybody's
    note_->setObjectName(QStringLiteral("note"));
    note_->setWordWrap(true);
    auto* line = new QHBoxLayout;
    line->setSpacing(14);
    line->addWidget(title_);
    switch (control.kind) {
        case ControlShape::range:
            makeRange(*line);
            break;
        case ControlShape::choice:
            makeChoice(*line);
            break;
        case ControlShape::flag:
            makeFlag(*line);
            break;
    }
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, FocusRing::outset, FocusRing::outset, FocusRing::outset);
    all->setSpacing(2);
    all->addLayout(line);
    all->addWidget(note_);
    showState();
    showValue();
}

QWidget* ControlLine::firstPart() const {
    if (slider_ != nullptr) return slider_;
    return menu_ != nullptr ? static_cast<QWidget*>(menu_) : switch_;
}

// The widget must have its parent: Qt asks for its role now, and takes one without for a window.
void ControlLine::name(QWidget& widget) {
    widget.setAccessibleName(control_.title);
    widget.installEventFilter(this);
    if (title_->buddy() == nullptr) title_->setBuddy(&widget);
    widget.setToolTip(defaultText());
}

ControlLine::~ControlLine() {
    if (field_ != nullptr) field_->blockSignals(true); // it would tell what was typed when it loses the focus
}

QString ControlLine::defaultText() const {
    if (!control_.defaultValue) return {};
    QString value = QString::number(*control_.defaultValue) + control_.suffix;
    const auto choice = std::ranges::find(control_.choices, *control_.defaultValue, &ShownChoice::value);
    if (choice != control_.choices.end()) value = choice->text;
    return control_.kind == ControlShape::flag ? QString() : texts_.defaultValue.arg(value);
}

void ControlLine::makeRange(QHBoxLayout& place) {
    slider_ = new KTSlider(this);
    slider_->setFixedHeight(sliderHeight);
    slider_->setMinValue(static_cast<double>(control_.minimum));
    slider_->setMaxValue(static_cast<double>(control_.maximum));
    if (control_.defaultValue) slider_->setMarkedValue(static_cast<double>(*control_.defaultValue));
    name(*slider_);
    connect(slider_, &KTSlider::action, this, [this] {
        isBehind_ = false;
        Q_EMIT chosen(positionOf(*slider_), slider_->isHeld());
    });
    connect(slider_, &KTSlider::dragEnded, this, [this] {
        if (std::exchange(isBehind_, false)) showValue();
    });

    field_ = new QDoubleSpinBox(this); // an int holds not every 32-bit value
    field_->setDecimals(0);
    field_->setRange(static_cast<double>(control_.minimum), static_cast<double>(control_.maximum));
    field_->setSingleStep(static_cast<double>(control_.step));
    field_->setSuffix(control_.suffix);
    field_->setFixedWidth(scaled(fieldWidth));
    field_->setKeyboardTracking(false); // half a number is no value
    field_->setFocusPolicy(Qt::StrongFocus);
    name(*field_);
    connect(field_, &QDoubleSpinBox::valueChanged, this,
            [this](double value) { Q_EMIT chosen(std::llround(value), false); });
    place.addWidget(slider_, 1);
    place.addWidget(field_);
}

void ControlLine::makeChoice(QHBoxLayout& place) {
    menu_ = new QComboBox(this);
    menu_->setFocusPolicy(Qt::StrongFocus);
    for (const ShownChoice& choice : control_.choices)
        menu_->addItem(choice.text, QVariant::fromValue<qlonglong>(choice.value));
    menu_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    menu_->setMinimumContentsLength(1);
    name(*menu_);
    connect(menu_, &QComboBox::activated, this,
            [this](int index) { Q_EMIT chosen(menu_->itemData(index).toLongLong(), false); });
    place.addWidget(menu_, 1);
}

void ControlLine::makeFlag(QHBoxLayout& place) {
    switch_ = new KTSwitch(this);
    switch_->setFixedSize(switchSize);
    name(*switch_);
    connect(switch_, &KTSwitch::clicked, this, [this] { Q_EMIT chosen(switch_->on() ? 0 : 1, false); });
    place.addWidget(switch_);
    place.addStretch(1);
}

void ControlLine::show(const ControlDescription& control) {
    control_ = control;
    showState();
    isBehind_ = slider_ != nullptr && slider_->isHeld();
    if (isBehind_)
        showField();
    else
        showValue();
}

void ControlLine::showRefusal() {
    showField();
}

void ControlLine::showValue() {
    if (slider_ != nullptr) slider_->setFloatValue(static_cast<double>(control_.value));
    showField();
}

void ControlLine::showField() {
    if (field_ != nullptr && !(field_->hasFocus() && field_->findChild<QLineEdit*>()->isModified())) {
        const QSignalBlocker noAction(field_);
        field_->setValue(static_cast<double>(control_.value));
    }
    if (menu_ != nullptr)
        menu_->setCurrentIndex(menu_->findData(QVariant::fromValue<qlonglong>(control_.value)));
    if (switch_ != nullptr) switch_->setOn(control_.value != 0);
}

void ControlLine::showState() {
    const bool isFree = control_.setBy.isEmpty();
    note_->setText(isFree ? QString() : texts_.setBy.arg(control_.setBy));
    note_->setVisible(!isFree);
    title_->setEnabled(isFree);
    for (QWidget* widget : std::initializer_list<QWidget*>{slider_, field_, menu_, switch_}) {
        if (widget == nullptr) continue;
        widget->setEnabled(isFree);
        widget->setAccessibleDescription(isFree ? defaultText() : note_->text());
    }
}

// Scrolling past a widget must not change the camera.
bool ControlLine::eventFilter(QObject* watched, QEvent* event) {
    const auto* widget = qobject_cast<QWidget*>(watched);
    if (event->type() != QEvent::Wheel || widget == nullptr || widget->hasFocus())
        return QWidget::eventFilter(watched, event);
    event->ignore();
    return true;
}

} // namespace tavelo
