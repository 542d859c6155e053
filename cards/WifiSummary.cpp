#include "cards/WifiSummary.h"

#include "cards/CardHelpers.h"
#include "cards/CardNetwork.h"
#include "cards/CardWifi.h"
#include "cards/SsidText.h"
#include "controls/BeepButton.h"
#include "shell/GlobalInfo.h"
#include "shell/IconProvider.h"
#include "shell/Palette.h"
#include "systemset/MeyerSingleton.h"

#include <QColor>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;

const QColor NormalColor(Palette::Text);
const QColor MutedColor(Palette::MutedText);
const QColor FrameColor(0xE2, 0xE3, 0xE5);

constexpr int WifiPollMs = 2000;

/// The connected network's name, empty when Wi-Fi is not connected.
QString connectedSsid()
{
    if (!Panel::instance().isWifiConnected())
        return QString();
    return ssidText(Panel::instance().currentWifiSsid());
}

} // namespace

WifiSummary::WifiSummary(CardNetwork *card)
    : QObject(card)
    , m_card(card)
    , m_poll(
          card, this, [this] { update(); }, WifiPollMs)
{}

QQuickItem *WifiSummary::addRow()
{
    const bool enabled = Panel::instance().isNicEnabled(HMI::SystemSet::NIC_WIFI);
    const int fontPixelSize = m_card->fontPixelSize();
    QQuickItem *column = m_card->rowColumn();
    auto *button = new BeepButton(column);
    button->setObjectName(QStringLiteral("wifiSettingsButton"));
    QQuickAnchors *anchors = anchorsOf(button);
    anchors->setLeft(leftOf(column));
    anchors->setRight(rightOf(column));
    anchors->setLeftMargin(fontPixelSize);
    anchors->setRightMargin(fontPixelSize);
    const qreal height = m_card->rowHeight() * 41.0 / 31.0;
    button->setHeight(height);
    button->setEnabled(enabled);

    auto *background = new QQuickRectangle(button);
    background->setColor(Qt::white);
    background->setRadius(8);
    background->border()->setWidth(1);
    background->border()->setColor(FrameColor);
    button->setBackground(background);

    auto *icon = new QQuickImage(button);
    const qreal iconSide = height * 21.0 / 41.0;
    icon->setSize(QSizeF(iconSide, iconSide));
    icon->setSourceSize(QSize(40, 40));
    IconProvider::setSource(icon, QUrl(QStringLiteral("image://qspicon/4@2x")));
    anchorsOf(icon)->setLeft(leftOf(button));
    anchorsOf(icon)->setLeftMargin(fontPixelSize);
    anchorsOf(icon)->setVerticalCenter(verticalCenterOf(button));

    QQuickText *label = newPlainText(button);
    setPixelSize(label, fontPixelSize);
    label->setColor(NormalColor);
    anchorsOf(label)->setLeft(rightOf(icon));
    anchorsOf(label)->setLeftMargin(iconSide / 3);
    anchorsOf(label)->setVerticalCenter(verticalCenterOf(button));
    setMultilingualText(
        label, [] { return CardNetwork::translated(QT_TRANSLATE_NOOP("CardNetwork", "Wi-Fi Settings")); });

    m_arrow = new QQuickImage(button);
    const qreal arrowSide = height * 12.0 / 41.0;
    m_arrow->setSize(QSizeF(arrowSide, arrowSide));
    m_arrow->setSourceSize(QSize(64, 64));
    IconProvider::setSource(m_arrow, QUrl(QStringLiteral("image://qspicon/rightArrow0@2x")));
    m_arrow->setVisible(enabled);
    anchorRight(m_arrow, button, fontPixelSize);

    m_stateText = newPlainText(button);
    setPixelSize(m_stateText, fontPixelSize);
    m_stateText->setColor(MutedColor);
    anchorRight(m_stateText, button, fontPixelSize * 1.5 + arrowSide);
    m_stateSource = QT_TRANSLATE_NOOP("CardNetwork", "Offline");
    setMultilingualText(m_stateText, [this] { return CardNetwork::translated(m_stateSource); });

    // The network's name fills the room between the label and the state, shortened when it is long. On a
    // narrow screen there is no such room: the name goes under the label.
    m_ssidText = newPlainText(button);
    setPixelSize(m_ssidText, fontPixelSize);
    m_ssidText->setColor(MutedColor);
    m_ssidText->setElideMode(QQuickText::ElideRight);
    QQuickAnchors *ssidAnchors = anchorsOf(m_ssidText);
    ssidAnchors->setRight(leftOf(m_stateText));
    ssidAnchors->setRightMargin(16);
    if (GlobalInfo::instance().screenSize().width() < 600) {
        connect(m_ssidText, &QQuickText::textChanged, label, [label, text = m_ssidText, height] {
            anchorsOf(label)->setVerticalCenterOffset(text->text().isEmpty() ? 0 : -height * 0.16);
        });
        ssidAnchors->setLeft(leftOf(label));
        ssidAnchors->setTop(QQuickItemPrivate::get(label)->bottom());
    } else {
        ssidAnchors->setLeft(rightOf(label));
        ssidAnchors->setLeftMargin(16);
        ssidAnchors->setVerticalCenter(verticalCenterOf(button));
    }
    connect(&GlobalInfo::instance(), &GlobalInfo::localeChanged, m_ssidText, [this] {
        if (m_ssidUnknown)
            m_ssidText->setText(CardNetwork::translated(QT_TRANSLATE_NOOP("CardNetwork", "Unknown")));
    });

    connect(m_card, &CardNetwork::wifiEnableChanged, button, [button, arrow = m_arrow](bool enable) {
        button->setEnabled(enable);
        arrow->setVisible(enable);
    });
    connect(button, &QQuickAbstractButton::clicked, m_card, &CardNetwork::switchToWifiCard);

    m_button = button;
    update();
    return button;
}

void WifiSummary::setConnecting(bool connecting)
{
    m_connecting = connecting;
    if (!connecting)
        update();
}

void WifiSummary::startPoll()
{
    if (!m_poll.isActive())
        m_poll.start();
}

void WifiSummary::updatePoll()
{
    if (m_card->currentNIC() == HMI::SystemSet::NIC_WIFI &&
        Panel::instance().isNicEnabled(HMI::SystemSet::NIC_WIFI))
        startPoll();
    else
        stopPoll();
    update();
}

void WifiSummary::showOffline()
{
    CardNetwork::setStateText(m_stateText, m_stateSource, QT_TRANSLATE_NOOP("CardNetwork", "Offline"),
                              MutedColor);
    m_ssidUnknown = false;
    m_ssidText->setText(QString());
}

void WifiSummary::update()
{
    // While the Wi-Fi card connects, the summary keeps what it showed.
    if (!m_button || m_connecting)
        return;
    if (!Panel::instance().isNicEnabled(HMI::SystemSet::NIC_WIFI)) {
        showOffline();
        stopPoll();
        return;
    }
    if (m_card->currentNIC() == HMI::SystemSet::NIC_WIFI)
        startPoll();

    const bool connected = Panel::instance().isWifiConnected();
    const QString ssid = connectedSsid();
    if (connected) {
        CardNetwork::setStateText(m_stateText, m_stateSource, QT_TRANSLATE_NOOP("CardNetwork", "Online"),
                                  MutedColor);
        m_ssidUnknown = ssid.isEmpty();
        m_ssidText->setText(
            m_ssidUnknown ? CardNetwork::translated(QT_TRANSLATE_NOOP("CardNetwork", "Unknown")) : ssid);
        m_card->updateNetInfoDisplay(HMI::SystemSet::NIC_WIFI);
        if (auto *wifiCard = screenCard<CardWifi>(AppRootItem::Card_Wifi))
            wifiCard->updateSignalStrength();
    } else {
        showOffline();
        if (m_wasConnected)
            Q_EMIT connectionLost();
    }
    m_wasConnected = connected;
    Q_EMIT statusChanged(connected, ssid);
}

} // namespace QSP
