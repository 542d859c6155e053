#pragma once

#include "VkbInterface.h"

#define QVKB_EXPORT __attribute__((visibility("default")))

/// Finds and loads the on-screen keyboard plug-in.
///
/// This build has no keyboard plug-in of its own: vkb() is null until a keyboard is handed over with
/// setVkb() (a test keyboard, or a real one that the host loaded).
class QVKB_EXPORT QVkbPluginLoader
{
public:
    static QVkbPluginLoader *instance();

    /// The keyboard, or null when none is available.
    VkbInterface *vkb() const { return m_vkb; }
    /// Hands over a keyboard object (not owned); null takes it back.
    void setVkb(VkbInterface *vkb) { m_vkb = vkb; }

private:
    QVkbPluginLoader() = default;
    VkbInterface *m_vkb = nullptr;
};
