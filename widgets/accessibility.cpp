// SPDX-License-Identifier: MIT
#include "widgets/accessibility.h"

#include <algorithm>
#include <utility>

#include <QAccessibleWidget>
#include <QGuiApplication>

#include "widgets/image_view.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_text.h"
#include "widgets/panel_button.h"

namespace tavelo {
namespace {

using Relation = std::pair<QAccessibleInterface*, QAccessible::Relation>;

// The labels that name a control are its siblings.
QList<Relation> labelsOf(const QAbstractButton* button) {
    QList<Relation> labels;
    if (button->parentWidget() == nullptr) return labels;
    for (KTText* label : button->parentWidget()->findChildren<KTText*>(Qt::FindDirectChildrenOnly)) {
        if (label->buddy() == button)
            labels.append({QAccessible::queryAccessibleInterface(label), QAccessible::Label});
    }
    return labels;
}

class AccessibleButton : public QAccessibleWidget {
public:
    explicit AccessibleButton(PanelButton* button)
        : QAccessibleWidget(button, button->accessibleRole()),
          button_(button) {}

    QString text(QAccessible::Text kind) const override {
        const QString given = QAccessibleWidget::text(kind);
        // A title may contain line breaks.
        return kind == QAccessible::Name && given.isEmpty() ? button_->text().simplified() : given;
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.checkable = button_->hasOnState();
        state.checked = button_->hasOnState() && button_->isOnState();
        state.pressed = button_->isDown();
        return state;
    }

    QList<Relation> relations(QAccessible::Relation match) const override {
        QList<Relation> all = QAccessibleWidget::relations(match);
        if ((match & QAccessible::Label) != 0) all += labelsOf(button_);
        return all;
    }

    QStringList actionNames() const override {
        QStringList names;
        if (button_->isEnabled()) {
            const bool toggles = button_->accessibleRole() == QAccessible::CheckBox;
            names << (toggles ? toggleAction() : pressAction());
        }
        return names << QAccessibleWidget::actionNames();
    }

    void doAction(const QString& name) override {
        if (name == pressAction() || name == toggleAction()) {
            button_->click(); // does nothing if disabled
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

private:
    PanelButton* const button_;
};

class AccessibleSlider : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit AccessibleSlider(KTSlider* slider)
        : QAccessibleWidget(slider, QAccessible::Slider),
          slider_(slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? QString::number(slider_->intValue())
                                          : QAccessibleWidget::text(kind);
    }

    QVariant currentValue() const override { return slider_->floatValue(); }
    QVariant minimumValue() const override { return slider_->minValue(); }
    QVariant maximumValue() const override { return slider_->maxValue(); }
    QVariant minimumStepSize() const override { return 1.0; }

    void setCurrentValue(const QVariant& value) override {
        bool isNumber = false;
        const double wanted = value.toDouble(&isNumber);
        if (isNumber && slider_->isEnabled()) slider_->choose(wanted);
    }

    QStringList actionNames() const override {
        QStringList names;
        if (slider_->isEnabled()) names << increaseAction() << decreaseAction();
        return names << QAccessibleWidget::actionNames();
    }

    void doAction(const QString& name) override {
        const bool increases = name == increaseAction();
        if (!increases && name != decreaseAction()) {
            QAccessibleWidget::doAction(name);
        } else if (slider_->isEnabled()) {
            slider_->choose(slider_->intValue() + (increases ? 1 : -1));
        }
    }

private:
    KTSlider* const slider_;
};

class AccessibleText : public QAccessibleWidget {
public:
    explicit AccessibleText(KTText* label)
        : QAccessibleWidget(label, QAccessible::StaticText),
          label_(label) {}

    QString text(QAccessible::Text kind) const override {
        const QString given = QAccessibleWidget::text(kind);
        return kind == QAccessible::Name && given.isEmpty() ? label_->text() : given;
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.disabled = state.disabled || !label_->enable();
        return state;
    }

    QList<Relation> relations(QAccessible::Relation match) const override {
        QList<Relation> all = QAccessibleWidget::relations(match);
        if ((match & QAccessible::Labelled) != 0 && label_->buddy() != nullptr)
            all.append({QAccessible::queryAccessibleInterface(label_->buddy()), QAccessible::Labelled});
        return all;
    }

private:
    KTText* const label_;
};

// Qt reports main windows and dialogs as windows, but any other top-level widget as a mere container.
class AccessibleWindow : public QAccessibleWidget {
public:
    explicit AccessibleWindow(QWidget* window) : QAccessibleWidget(window, QAccessible::Window) {}

    QString text(QAccessible::Text kind) const override {
        const QString given = QAccessibleWidget::text(kind);
        return kind == QAccessible::Name && given.isEmpty() ? QGuiApplication::applicationDisplayName()
                                                            : given;
    }
};

// Qt takes ownership of the result.
QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    if (auto* button = qobject_cast<PanelButton*>(object)) return new AccessibleButton(button);
    if (auto* slider = qobject_cast<KTSlider*>(object)) return new AccessibleSlider(slider);
    if (auto* label = qobject_cast<KTText*>(object)) return new AccessibleText(label);
    if (auto* view = qobject_cast<ImageView*>(object))
        return new QAccessibleWidget(view, QAccessible::Graphic);
    auto* widget = qobject_cast<QWidget*>(object);
    if (widget != nullptr && widget->windowType() == Qt::Window && widget->parentWidget() == nullptr)
        return new AccessibleWindow(widget);
    return nullptr;
}

} // namespace

void installWidgetAccessibility() {
    // Qt ignores a factory that is already installed.
    QAccessible::installFactory(makeInterface);
}

} // namespace tavelo
