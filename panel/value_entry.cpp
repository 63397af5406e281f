// SPDX-License-Identifier: MIT
#include "panel/value_entry.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QRegularExpressionValidator>

#include "widgets/kt_slider.h"
#include "widgets/kt_text.h"
#include "widgets/palette.h"

namespace tavelo {
namespace {

// Digits enough for every control of a camera, and few enough for an int.
const QString number = QStringLiteral("[-+]?[0-9]{1,8}");

QString styleSheet() {
    return QStringLiteral(
               "QLineEdit { background: %1; color: white; border: 1px solid %2; padding: 0; "
               "selection-background-color: %2; selection-color: white; }")
        .arg(palette::trackGrey.name(), palette::accentRed.name());
}

} // namespace

ValueEntry::ValueEntry(KTText& field, KTSlider& slider) : field_(field), slider_(slider) {
    // Single presses still reach the window, which is dragged by them.
    field_.setAttribute(Qt::WA_TransparentForMouseEvents, false);
    field_.installEventFilter(this);
    slider_.installEventFilter(this);
}

ValueEntry::~ValueEntry() {
    if (edit_) edit_->removeEventFilter(this); // on its way out it is no line edit any more
    delete edit_;
}

void ValueEntry::open() {
    edit_ = new QLineEdit(field_.text(), field_.parentWidget());
    QFont font = field_.font();
    font.setPixelSize(qMax(1, qRound(font.pixelSize() * field_.scale())));
    edit_->setFont(font);
    edit_->setStyleSheet(styleSheet());
    edit_->setAlignment(Qt::AlignCenter);
    edit_->setContextMenuPolicy(Qt::NoContextMenu); // the panel's menu opens
    edit_->setValidator(new QRegularExpressionValidator(QRegularExpression(number), edit_));
    edit_->setAccessibleName(slider_.accessibleName());
    edit_->setGeometry(field_.geometry());
    edit_->installEventFilter(this);
    connect(edit_, &QLineEdit::returnPressed, this, &ValueEntry::commit);
    edit_->show();
    edit_->selectAll();
    edit_->setFocus(Qt::MouseFocusReason);
}

void ValueEntry::commit() {
    const int value = edit_->text().toInt();
    close();
    slider_.setFocus(Qt::OtherFocusReason);
    slider_.choose(value);
}

void ValueEntry::close() {
    if (!edit_) return;
    QLineEdit* const edit = edit_;
    edit_.clear(); // first, because hiding it takes its focus away
    edit->removeEventFilter(this);
    edit->hide();
    edit->deleteLater();
}

bool ValueEntry::editEvent(const QEvent& event) {
    if (event.type() == QEvent::FocusOut) {
        // Another program's window or a menu gives the focus back.
        const Qt::FocusReason reason = static_cast<const QFocusEvent&>(event).reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) close();
        return false;
    }
    const bool escapes = (event.type() == QEvent::KeyPress || event.type() == QEvent::ShortcutOverride) &&
                         static_cast<const QKeyEvent&>(event).key() == Qt::Key_Escape;
    if (!escapes) return false;
    close();
    slider_.setFocus(Qt::OtherFocusReason);
    return true;
}

bool ValueEntry::eventFilter(QObject* watched, QEvent* event) {
    if (watched == edit_) return editEvent(*event);
    if (watched == &slider_ && event->type() == QEvent::EnabledChange && !slider_.isEnabled()) close();
    if (watched == &field_ && event->type() == QEvent::MouseButtonDblClick && slider_.isEnabled() &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton && !edit_) {
        open();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tavelo
