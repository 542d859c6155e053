#include "controls/BrightButton.h"

#include <QQmlEngine>

namespace QSP {

BrightButton::BrightButton(QQuickItem *parent)
    : BeepButton(parent)
{
    connect(this, &QQuickAbstractButton::pressAndHold, this, &BeepButton::beepIfOn);
}

void BrightButton::registerType()
{
    static bool registered = false;
    if (registered)
        return;
    registered = true;
    qmlRegisterType<BrightButton>("QQuickSystemSet", 1, 0, "BrightButton");
}

} // namespace QSP
