// SPDX-License-Identifier: MIT
// A number typed into a slider's value field.
#pragma once

#include <QLineEdit>
#include <QObject>
#include <QPointer>

namespace tavelo {

class KTSlider;
class KTText;

/// A double click on the field opens it for typing.  Enter sets the slider, within its range; Escape or a
/// click elsewhere leaves the value alone.  Main thread.
class ValueEntry final : public QObject {
    Q_OBJECT

public:
    /// Both are siblings and must outlive this object.
    ValueEntry(KTText& field, KTSlider& slider);
    ~ValueEntry() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void open();
    void close();
    void commit();
    bool editEvent(const QEvent& event);

    KTText& field_;
    KTSlider& slider_;
    QPointer<QLineEdit> edit_; // exists while the field is open
};

} // namespace tavelo
