// SPDX-License-Identifier: MIT
// The window with every control of the camera.
#pragma once

#include <QDialog>
#include <QRect>
#include <optional>
#include <vector>

#include "all-controls/control_line.h"
#include "all-controls/control_model.h"
#include "platform/bundle.h"

class QLabel;
class QPushButton;
class QScrollArea;
class QVBoxLayout;

namespace tavelo {

/// Shows the groups of its models, one below the other, and sends what the user chooses to them.  It keeps
/// nothing itself, and follows them while it is visible.  Thread-bound to the main thread.
class AllControlsWindow final : public QDialog {
    Q_OBJECT

public:
    /// @param bundle provides the texts; must outlive the window
    AllControlsWindow(const Bundle& bundle, QWidget* parent);

    /// Adds the groups of a model, which must outlive the window, below those that are there.
    void addModel(ControlModel& model);
    /// Empty if none is shown.
    void setCameraName(const QString& name);
    /// While all controls are written the buttons are disabled.
    void setWalking(bool walking);
    /// Shows the texts in the bundle's current language.
    void retranslate();

    const std::vector<ControlLine*>& lines() const { return lines_; }

Q_SIGNALS:
    void defaultsChosen();
    void sendAllChosen();
    /// The window got the focus.
    void activated();
    /// It was hidden; its geometry is still that of before.
    void closed();

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    struct Shown {
        ControlModel* model = nullptr;
        ControlGroup group;
    };

    void makeButtons(QVBoxLayout& layout);
    std::vector<Shown> shownGroups() const;
    void showModels();
    void rebuild(const std::vector<Shown>& groups);
    QWidget* makeGroup(const Shown& shown, QWidget& contents);
    void write(ControlModel& model, ControlLine& line, std::int64_t value, bool held);
    void fitContents();
    QString focusedKey() const;
    void focusLine(const QString& key);
    bool hasSameShape(const std::vector<Shown>& groups) const;
    QString text(std::string_view key) const;

    const Bundle& bundle_;
    QString cameraName_;
    std::vector<ControlModel*> models_;
    QStringList groupTitles_;
    std::vector<ControlLine*> lines_;
    QScrollArea* scroll_ = nullptr;
    QPushButton* defaults_ = nullptr;
    QPushButton* sendAll_ = nullptr;
    bool isWalking_ = false;
    bool wasFitted_ = false;
};

} // namespace tavelo
