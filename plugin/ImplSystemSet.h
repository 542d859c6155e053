#pragma once

#include "ISystemSet.h"

namespace QSP {

/// The settings screen behind ISystemSet; all of its state lives in the root item and the global objects.
/// Final: the registry's shared pointer destroys it as itself, ISystemSet's destructor not being virtual.
class ImplSystemSet final : public ISystemSet
{
public:
    QQuickItem *init(QQmlEngine *engine, int width, int height, int popupZ) override;
    void open() override;
    void close() override;
};

} // namespace QSP
