// SPDX-License-Identifier: MIT
// One control in the window: its title, and what the user changes it with.
#pragma once

#include <QWidget>
#include <cstdint>

#include "all-controls/control_description.h"

class QComboBox;
class QDoubleSpinBox;
class QHBoxLayout;
class QLabel;

namespace tavelo {

class KTSlider;
class KTSwitch;

/// The texts that a line adds to its control's own; "%1" is replaced.
struct ControlLineTexts {
    QString setBy;        ///< by the automatic control's title
    QString defaultValue; ///< by the default
};

/// A slider with a number field, a menu or a switch, by the control's kind.  Thread-bound to the main thread.
class ControlLine final : public QWidget {
    Q_OBJECT

public:
    ControlLine(const ControlDescription& control, ControlLineTexts texts, QWidget* parent = nullptr);
    /// A number that is half typed is forgotten.
    ~ControlLine() override;

    const ControlDescription& control() const { return control_; }
    /// What the keyboard reaches first.
    QWidget* firstPart() const;

    /// Shows a value, and whether an automatic control sets it.  A slider that the user holds and a field
    /// that the user types into stay as they are.
    /// @param control of the same shape
    void show(const ControlDescription& control);
    /// Shows the value in the field, the menu or the switch; the slider stays where the user left it.
    void showRefusal();

Q_SIGNALS:
    /// The user chose a value.
    /// @param held whether more may follow from the same drag
    void chosen(std::int64_t value, bool held);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeRange(QHBoxLayout& place);
    void makeChoice(QHBoxLayout& place);
    void makeFlag(QHBoxLayout& place);
    void name(QWidget& widget);
    void showValue();
    void showField();
    void showState();
    QString defaultText() const;

    ControlDescription control_;
    const ControlLineTexts texts_;
    QLabel* title_ = nullptr;
    QLabel* note_ = nullptr; // which automatic control sets the value
    // Of a range, a choice and a flag; the others are null.
    KTSlider* slider_ = nullptr;
    QDoubleSpinBox* field_ = nullptr;
    QComboBox* menu_ = nullptr;
    KTSwitch* switch_ = nullptr;
    bool isBehind_ = false; // the slider was held when its value changed, and was not set since
};

} // namespace tavelo
