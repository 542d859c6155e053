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
class VkbInterface
{
public:
    virtual ~VkbInterface() = default;

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
};
