#pragma once

#include <QPointF>

class QQuickItem;
class QQuickPopup;
class QQuickWindow;

/// Key layouts of the on-screen keyboard.
enum VkbLayoutType {
    VkbLayout_IPv4 = 0,     ///< digits and dots, for address entry
    VkbLayout_Number = 1,   ///< digits only
    VkbLayout_DateTime = 2, ///< digits and the date and time separators
    VkbLayout_Phone = 3,
    VkbLayout_Email = 4,
    VkbLayout_Full = 5, ///< every character, for MAC addresses and passwords
};

/// The on-screen keyboard plug-in, as the loader hands it out.
///
/// The order of the virtual operations is the keyboard's binary interface: a screen built against another
/// loader calls them by their place in the table, so none may be added, removed or moved, and the interface
/// has no virtual destructor (the keyboard lives as long as the process; nobody deletes it through this
/// type).
class VkbInterface
{
public:
    /// Once, after loading: the window to show in and the z value of the keyboard's popup.
    virtual void init(QQuickWindow *window, int z) = 0;
    /// The popup that carries the keyboard.
    virtual QQuickPopup *popup() = 0;
    /// The visible keyboard item, for its height and position.
    virtual QQuickItem *keyboardItem() = 0;
    virtual void setVisible(bool visible) = 0;
    /// Moves the keyboard's popup within its window.
    virtual void setPosition(const QPointF &position) = 0;
    virtual void setLayoutType(VkbLayoutType type) = 0;
    virtual VkbLayoutType layoutType() const = 0;
    virtual bool isVisible() const = 0;

protected:
    ~VkbInterface() = default;
};

/// A keyboard plug-in library exports this function unmangled as "qvkbCreateKeyboard": it makes the
/// process's keyboard, or returns null when it cannot offer one in this process. The caller keeps the
/// keyboard for the life of the process.
using VkbCreateFunction = VkbInterface *(*)();
