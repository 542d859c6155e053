#include "cards/CardBuzzer.h"

#include "controls/BeepButton.h"
#include "shell/AppRootItem.h"
#include "shell/DocumentPart.h"
#include "shell/GlobalInfo.h"
#include "systemset/MeyerSingleton.h"
#include "systemset/SystemSet.h"

#include <QCoreApplication>
#include <QQmlEngine>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

namespace {

QString buzzerText()
{
    return QCoreApplication::translate("CardBuzzer", "Buzzer");
}

} // namespace

CardBuzzer::CardBuzzer(QQuickItem *parent)
    : BaseCard(parent)
    , m_buzzerTitleRowHeight(int(GlobalInfo::instance().rowUnit()))
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
    m_titleText = documentPart<QQuickText>(this, "titleText");
    setMultilingualText(m_titleText, buzzerText);
    m_buzzerLabel = documentPart<QQuickText>(this, "buzzerLabel");
    setMultilingualText(m_buzzerLabel, buzzerText);
}

void CardBuzzer::refresh()
{
    BeepButton::setCachedBuzzerOn(MeyerSingleton<HMI::SystemSet>::instance().isBuzzerOn());
    Q_EMIT buzzerOnChanged();
}

} // namespace QSP
