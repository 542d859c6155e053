#include "controls/BrightButton.h"

#include "shell/QmlTypes.h"

#include <QQmlEngine>

namespace QSP {

BrightButton::BrightButton(QQuickItem *parent)
    : BeepButton(parent)
{
    connect(this, &QQuickAbstractButton::pressAndHold, this, &BeepButton::beepIfOn);
}

void BrightButton::registerType()
{
    registerQmlType<BrightButton>("BrightButton");
}

} // namespace QSP
