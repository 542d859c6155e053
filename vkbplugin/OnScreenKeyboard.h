#pragma once

#include "vkbloader/VkbInterface.h"

#include <QObject>
#include <QPointer>

class QQmlEngine;

namespace QSP {

/// The on-screen keyboard on Qt Virtual Keyboard: its input panel in a Controls 2 popup, over the window of
/// the field being edited. The layout types become input method hints on the focused field, from which the
/// input panel chooses its keys. It needs the application to take its text input from Qt Virtual Keyboard
/// (QT_IM_MODULE=qtvirtualkeyboard, set before the application is created).
class OnScreenKeyboard final : public QObject, public VkbInterface
{
    Q_OBJECT

public:
    OnScreenKeyboard() = default;

    void init(QQuickWindow *window, int z) override;
    QQuickPopup *popup() override;
    QQuickItem *keyboardItem() override;
    void setVisible(bool visible) override;
    void setPosition(const QPointF &position) override;
    void setLayoutType(VkbLayoutType type) override;
    VkbLayoutType layoutType() const override { return m_layout; }
    bool isVisible() const override;

    /// The input method hints that select the keys of @p type.
    static Qt::InputMethodHints hintsFor(VkbLayoutType type);
    /// Whether this application's text input comes from Qt Virtual Keyboard.
    static bool inputMethodAvailable();

private Q_SLOTS:
    void onPanelDeactivated();
    /// The window is going: the popup and its engine go with it.
    void release();

private:
    /// Shows the popup in @p window from now on, making it first where there is none.
    void attachTo(QQuickWindow *window);

    // The popup lives in an engine of its own, made for the window it shows in and deleted with it, so that
    // nothing of the keyboard outlives the host's window.
    QPointer<QQmlEngine> m_engine;
    QPointer<QQuickPopup> m_popup;
    QPointer<QQuickItem> m_panel;
    QPointer<QQuickWindow> m_window;
    int m_z = 0;
    VkbLayoutType m_layout = VkbLayout_Full;
    bool m_hiding = false;
};

} // namespace QSP
