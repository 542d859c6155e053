#include "controls/BeepButton.h"

#include "controls/VkbManager.h"
#include "shell/QmlTypes.h"
#include "systemset/MeyerSingleton.h"
#include "systemset/SystemSet.h"

#include <QQmlEngine>
#include <QtQuickTemplates2/private/qquickabstractbutton_p_p.h>

#include <future>

namespace QSP {

bool BeepButton::_isBuzzerOn = false;

BeepButton::BeepButton(QQuickItem *parent)
    : QQuickAbstractButton(parent)
{
    // QML signal handlers run before C++ connections to the same signal. Reacting to the release that
    // comes just before clicked() keeps the beep (and a switch's toggle) ahead of every onClicked handler.
    connect(this, &QQuickAbstractButton::released, this, [this] {
        if (clickFollows())
            onClickEvent();
    });
}

bool BeepButton::clickFollows() const
{
    const auto *d = QQuickAbstractButtonPrivate::get(const_cast<BeepButton *>(this));
    return !d->wasHeld && !d->wasDoubleClick && d->effectiveEnable;
}

bool BeepButton::isBuzzerOn()
{
    _isBuzzerOn = MeyerSingleton<HMI::SystemSet>::instance().isBuzzerOn();
    return _isBuzzerOn;
}

void BeepButton::setBuzzerOn(bool on)
{
    if (on == _isBuzzerOn)
        return;
    _isBuzzerOn = on;
    // The system call never runs on the GUI thread, but the GUI thread waits for it: the future's
    // destructor blocks until the worker has returned.
    auto write =
        std::async(std::launch::async, [on] { MeyerSingleton<HMI::SystemSet>::instance().setBuzzerOn(on); });
}

void BeepButton::beepIfOn() noexcept
{
    if (isBuzzerOn())
        MeyerSingleton<HMI::SystemSet>::instance().beep(true);
}

void BeepButton::onClickEvent() noexcept
{
    beepIfOn();
    if (m_autoCloseVkb)
        VkbManager::instance().showVkb(false);
}

void BeepButton::registerType()
{
    registerQmlType<BeepButton>("BeepButton");
}

} // namespace QSP
