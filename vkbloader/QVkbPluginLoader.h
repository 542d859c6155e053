#pragma once

#include "VkbInterface.h"

#include <QLibrary>
#include <QString>

#define QVKB_EXPORT __attribute__((visibility("default")))

/// Finds and loads the on-screen keyboard plug-in.
///
/// The plug-in is the library named by the environment variable QSP_VKB_PLUGIN or, without it, the one
/// installed in this library's folder (libqspkeyboard.so, beside the settings library). It is loaded on the
/// first request and kept for the life of the process; when there is none, or it offers no keyboard, there
/// is no keyboard, and that is not tried again.
class QVKB_EXPORT QVkbPluginLoader
{
public:
    static QVkbPluginLoader *instance();

    /// The keyboard handed over with setVkb(), else the plug-in's (loaded on the first call), else null.
    VkbInterface *vkb();
    /// Hands over a keyboard object (not owned) that vkb() returns instead of the plug-in's; null takes it
    /// back.
    void setVkb(VkbInterface *vkb) { m_handedOver = vkb; }

    /// The library that vkb() loads the keyboard from.
    static QString pluginPath();

private:
    QVkbPluginLoader() = default;
    VkbInterface *load();

    VkbInterface *m_handedOver = nullptr;
    VkbInterface *m_loaded = nullptr; ///< the plug-in's keyboard, kept for the life of the process
    bool m_loadTried = false;
    QLibrary m_library; ///< never unloaded: the keyboard's code must stay
};
