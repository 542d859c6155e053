#include "cards/CardBrightness.h"

#include "controls/BeepButton.h"
#include "shell/AppRootItem.h"
#include "shell/DocumentPart.h"
#include "shell/GlobalInfo.h"
#include "systemset/MeyerSingleton.h"
#include "systemset/SystemSet.h"

#include <QCoreApplication>
#include <QQmlEngine>
#include <QtQuick/private/qquicktext_p.h>

#include <algorithm>

namespace QSP {

namespace {

constexpr int MinLevel = 1;
constexpr int MaxLevel = 32;

} // namespace

CardBrightness::CardBrightness(QQuickItem *parent)
    : BaseCard(parent)
    , m_brightnessTitleRowHeight(int(GlobalInfo::instance().rowUnit()))
{
    // A level outside 1..32 is brought into range: shown as the nearest level, and the buttons step from it.
    m_brightnessValue = std::clamp(MeyerSingleton<HMI::SystemSet>::instance().bright(), MinLevel, MaxLevel);
}

void CardBrightness::setBrightnessValue(int value)
{
    // While the document is being built the slider brings its value into its own range and reports it
    // back; that is no choice of the user's and must neither replace nor write the level read.
    if (!m_completed)
        return;
    if (value >= MaxLevel)
        value = MaxLevel;
    if (value < MinLevel)
        value = MinLevel;
    if (value == m_brightnessValue)
        return;
    m_brightnessValue = value;
    Q_EMIT brightnessValueChanged();
    MeyerSingleton<HMI::SystemSet>::instance().setBright(m_brightnessValue, false);
}

void CardBrightness::saveBrightness()
{
    MeyerSingleton<HMI::SystemSet>::instance().setBright(m_brightnessValue, true);
}

void CardBrightness::beepIfOn()
{
    BeepButton::beepIfOn();
}

void CardBrightness::componentComplete()
{
    BaseCard::componentComplete();
    m_completed = true;
    m_titleText = documentPart<QQuickText>(this, "titleText");
    setMultilingualText(m_titleText,
                        [] { return QCoreApplication::translate("CardBrightness", "Brightness"); });
}

} // namespace QSP
