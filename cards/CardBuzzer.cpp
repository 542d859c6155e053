#include "cards/CardBuzzer.h"

#include "controls/BeepButton.h"
#include "shell/AppRootItem.h"
#include "shell/GlobalInfo.h"
#include "systemset/MeyerSingleton.h"
#include "systemset/SystemSet.h"

#include <QCoreApplication>
#include <QQmlEngine>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

namespace {

/// The title row's height: fixed steps in portrait, a share of the width in landscape.
int titleRowHeight()
{
    const GlobalInfo &info = GlobalInfo::instance();
    if (info.isScreenPortrait())
        return info.screenSize().width() < 600 ? 43 : 54;
    return int(info.screenSize().width() * 0.053125);
}

QString buzzerText()
{
    return QCoreApplication::translate("CardBuzzer", "Buzzer");
}

} // namespace

CardBuzzer::CardBuzzer(QQuickItem *parent)
    : BaseCard(parent)
    , m_buzzerTitleRowHeight(titleRowHeight())
{
    // The setting may have been changed by another program while the screen was closed.
    if (AppRootItem *root = AppRootItem::instance())
        connect(root, &AppRootItem::opened, this, &CardBuzzer::refresh);
}

bool CardBuzzer::buzzerOn() const
{
    return BeepButton::isBuzzerOn();
}

void CardBuzzer::setBuzzerOn(bool on)
{
    BeepButton::setBuzzerOn(on);
}

void CardBuzzer::switchClicked()
{
    setBuzzerOn(!buzzerOn());
}

void CardBuzzer::componentComplete()
{
    BaseCard::componentComplete();
    m_titleText = qobject_cast<QQuickText *>(property("titleText").value<QObject *>());
    setMultilingualText(m_titleText, buzzerText);
    m_buzzerLabel = qobject_cast<QQuickText *>(property("buzzerLabel").value<QObject *>());
    setMultilingualText(m_buzzerLabel, buzzerText);
}

void CardBuzzer::refresh()
{
    BeepButton::setCachedBuzzerOn(MeyerSingleton<HMI::SystemSet>::instance().isBuzzerOn());
    Q_EMIT buzzerOnChanged();
}

} // namespace QSP
