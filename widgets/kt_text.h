// SPDX-License-Identifier: MIT
// A text label.
#pragma once

#include <optional>

#include <QAbstractButton>
#include <QColor>
#include <QPointer>
#include <QString>
#include <QWidget>

#include "widgets/palette.h"
#include "widgets/panel_element.h"
#include "widgets/text_shadow.h"

class QPainter;

namespace tavelo {

/// A centred text, drawn one point above the exact middle, optionally on a pill with an outline.
///
/// Uses the widget's font, initially of 16 points.  `enable` dims the label and is independent of QWidget's
/// enabled state.  Thread-bound to the main thread.
class KTText : public QWidget, public PanelElement {
    Q_OBJECT

public:
    explicit KTText(QWidget* parent = nullptr);
    explicit KTText(const QRect& frame, QWidget* parent = nullptr);

    const QString& text() const { return text_; }
    void setText(const QString& text);

    const QColor& textColor() const { return textColor_; }
    void setTextColor(const QColor& color) { textColor_ = color; }

    /// The text's colour while `enable` is false.
    const QColor& disableColor() const { return disableColor_; }
    void setDisableColor(const QColor& color) { disableColor_ = color; }

    const std::optional<QColor>& borderColor() const { return borderColor_; }
    void setBorderColor(const std::optional<QColor>& color) { borderColor_ = color; }

    /// Fills the pill.  Not used without a border colour, because then no pill is drawn.
    const std::optional<QColor>& backgroundColor() const { return backgroundColor_; }
    void setBackgroundColor(const std::optional<QColor>& color) { backgroundColor_ = color; }

    const std::optional<TextShadow>& textShadow() const { return textShadow_; }
    void setTextShadow(const std::optional<TextShadow>& shadow) { textShadow_ = shadow; }

    bool enable() const { return enable_; }
    void setEnable(bool enable);

    /// The button that the label names.  A click on the label clicks the button, and does nothing while the
    /// button is disabled.  Initially null: the label then ignores the mouse.
    QAbstractButton* buddy() const { return buddy_; }
    void setBuddy(QAbstractButton* button);

    /// Draws the label into `rect`.
    void drawRect(QPainter& painter, const QRectF& rect);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QString text_;
    QColor textColor_ = Qt::white;
    QColor disableColor_ = palette::disabledTextGrey;
    std::optional<QColor> borderColor_;
    std::optional<QColor> backgroundColor_;
    std::optional<TextShadow> textShadow_;
    bool enable_ = true;
    QPointer<QAbstractButton> buddy_;
    bool pressed_ = false; // the left mouse button was pressed on the label
};

} // namespace tavelo
