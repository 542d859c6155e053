#pragma once

#include "systemset/MeyerSingleton.h"
#include "vkbloader/VkbInterface.h"

#include <QList>
#include <QMetaObject>
#include <QObject>

namespace QSP {

/// The on-screen keyboard: loaded on first need, shown with the caller's layout, and keeping the edited
/// field above it by moving the cards column.
class VkbManager : public QObject, public MeyerSingleton<VkbManager>
{
    Q_OBJECT

public:
    /// Asks the loader for the keyboard and initialises it with the root item's window.
    void loadPlugin();
    /// Shows (loading the keyboard on the first request) or hides the keyboard.
    void showVkb(bool show);
    bool isVisible() const;
    /// Selects the key layout; only after showVkb(true) found a keyboard.
    void setLayoutType(VkbLayoutType type) const;
    /// The keyboard item's height, 0 without a keyboard.
    double getHeight();

Q_SIGNALS:
    void visibleChanged();

private Q_SLOTS:
    void onVkbVisibleChange();
    /// The screen is closing: the keyboard goes with it.
    void onScreenClosing() { showVkb(false); }

private:
    friend class MeyerSingleton<VkbManager>;
    VkbManager() = default;

    VkbInterface *m_vkb = nullptr; ///< not owned
    bool m_popupWasModal = false;
    QList<QMetaObject::Connection> m_popupConnections;
};

} // namespace QSP
