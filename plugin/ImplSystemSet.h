#pragma once

#include "plugin/ISystemSet.h"

#include <QPointer>

namespace QSP {

class AppRootItem;

/// The settings screen behind ISystemSet. The screen's state lives in the root item and the global objects;
/// this object only remembers the root item it built, so that its open() and close() act on that one alone.
/// Final: the registry's shared pointer destroys it as itself, ISystemSet's destructor not being virtual.
class ImplSystemSet final : public ISystemSet
{
public:
    /// Builds the screen; see the README's host section for what a second call, a second object or a new
    /// engine get.
    QQuickItem *init(QQmlEngine *engine, int width, int height, int popupZ) override;
    void open() override;
    void close() override;

private:
    QPointer<AppRootItem> m_root; ///< owned by the host's scene
};

} // namespace QSP
