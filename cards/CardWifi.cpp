#include "cards/CardWifi.h"

#include "cards/CardHelpers.h"
#include "cards/CardNetwork.h"
#include "cards/SsidText.h"
#include "cards/WifiConnection.h"
#include "cards/WifiList.h"
#include "cards/WifiPasswordDialog.h"
#include "controls/BeepButton.h"
#include "controls/Dialog.h"
#include "shell/AppRootItem.h"
#include "shell/BaseCard.h"
#include "shell/DocumentPart.h"
#include "shell/GlobalInfo.h"
#include "shell/IconProvider.h"
#include "shell/OnGuiThread.h"
#include "shell/Palette.h"
#include "systemset/MeyerSingleton.h"

#include <QCoreApplication>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickpositioners_p.h>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

namespace {

using SsidInfo = HMI::SystemSet::SsidInfo;

const QColor ACCENT_BLUE(Palette::Accent);

HMI::SystemSet &panel()
{
    return MeyerSingleton<HMI::SystemSet>::instance();
}

/// The callback of a scan or a reset: it runs on the system's thread and hands the list to @p card's.
auto scanResultTo(CardWifi *card)
{
    return onGuiThread(card, [](CardWifi *target, std::unique_ptr<std::vector<SsidInfo>> list) {
        target->onScanResult(std::move(list));
    });
}

} // namespace

CardWifi::CardWifi(QQuickItem *parent)
    : QQuickControl(parent)
    , m_list(new WifiList(this))
    , m_passwordDialog(new WifiPasswordDialog(this))
    , m_connection(new WifiConnection(this, m_list, m_passwordDialog))
{
    qRegisterMetaType<HMI::SSID>();
    connect(this, &CardWifi::wifiReset, this, &CardWifi::onWifiReset);
    connect(m_list, &WifiList::rowTapped, this, &CardWifi::onClickWifiItem);
    connect(m_list, &WifiList::listed, this, &CardWifi::listingChanged);
    connect(m_connection, &WifiConnection::connectedChanged, this, &CardWifi::connectedChanged);

    const GlobalInfo &info = GlobalInfo::instance();
    const QSize screen = info.screenSize();
    if (!info.isScreenPortrait() && screen.width() > 0)
        m_base = quint16(int(screen.width() * 0.046875));
    m_fontSize = m_base * 5 / 12;
    AppRootItem *root = AppRootItem::instance();
    m_titleHeight = root ? root->titleHeight() : 0;
    addReturnButton();

    // The card base comes with a height of its own, which a control's background keeps: follow the card.
    auto *background = new BaseCard(this);
    setBackground(background);
    connect(this, &QQuickItem::heightChanged, background,
            [this, background] { background->setHeight(height() - topInset() - bottomInset()); });
    m_minHeight = quint16(qMax(0, screen.height() - 20 - m_titleHeight));
    setHeight(m_minHeight);

    // The network card reports every change of the connection it sees.
    if (auto *network = screenCard<CardNetwork>(AppRootItem::Card_Network))
        connect(network, &CardNetwork::wifiStatusChanged, this, &CardWifi::updateCurrentWifi);
}

CardWifi::~CardWifi() = default;

QString CardWifi::translated(const char *source)
{
    return QCoreApplication::translate("CardWifi", source);
}

void CardWifi::setTitleHeight(int height)
{
    if (height == m_titleHeight)
        return;
    m_titleHeight = height;
    Q_EMIT titleHeightChanged();
}

void CardWifi::setFontSize(int size)
{
    if (size == m_fontSize)
        return;
    m_fontSize = size;
    Q_EMIT fontSizeChanged();
}

void CardWifi::setState(CardState state)
{
    if (state == m_cardState)
        return;
    m_cardState = state;
    Q_EMIT cardStateChanged();
    Q_EMIT listingChanged();
}

bool CardWifi::isListing() const
{
    return m_cardState == Scanning || (m_list && m_list->isListing());
}

QQuickItem *CardWifi::returnButton() const
{
    return m_returnButton;
}

void CardWifi::addReturnButton()
{
    const GlobalInfo &info = GlobalInfo::instance();
    AppRootItem *root = AppRootItem::instance();
    auto *button = new BeepButton(root);
    if (!root)
        button->setParent(this);
    button->setObjectName(QStringLiteral("wifiReturnButton"));
    button->setVisible(false);
    button->setSize(QSizeF(m_base, m_base));
    button->setY((m_titleHeight - m_base) / 2.0);
    if (info.isMenuFill()) {
        button->setX(40);
    } else {
        const QQuickItem *menu = documentPart<QQuickItem>(root, "menuBar");
        button->setX((menu ? menu->width() : 0) + 20);
    }
    connect(button, &QQuickAbstractButton::pressed, button, [button] { button->setOpacity(0.6); });
    connect(button, &QQuickAbstractButton::released, button, [button] { button->setOpacity(1.0); });
    connect(button, &QQuickAbstractButton::canceled, button, [button] { button->setOpacity(1.0); });

    // Where the menu fills the screen the root item's own arrow shows, and this button covers it.
    if (!info.isMenuFill()) {
        auto *arrow = new QQuickImage(button);
        IconProvider::setSource(arrow, QUrl(QStringLiteral("image://qspicon/leftArrow0@2x")));
        arrow->setSourceSize(QSize(40, 40));
        arrow->setSize(QSizeF(m_base * 2.0 / 3, m_base * 2.0 / 3));
        anchorsOf(arrow)->setCenterIn(button);
    }
    m_returnButton = button;
}

void CardWifi::componentComplete()
{
    QQuickControl::componentComplete();

    m_column = documentPart<QQuickBasePositioner>(this, "layout");
    if (m_column) {
        m_column->setY(12);
        QQuickAnchors *anchors = anchorsOf(m_column);
        anchors->setLeft(leftOf(this));
        anchors->setRight(rightOf(this));
        anchors->setLeftMargin(24);
        anchors->setRightMargin(24);
        connect(m_column, &QQuickItem::heightChanged, this, &CardWifi::onColumnHeightChanged);
    }

    m_list->setParts(m_column, documentPart<QQuickItem>(this, "current"));
    m_connectedWlanText = documentPart<QQuickText>(this, "connectedWlanText");
    setMultilingualText(m_connectedWlanText, [] { return translated("Connected Wi-Fi"); });
    if (m_connectedWlanText && m_connectedWlanText->parentItem())
        addResetButton(m_connectedWlanText->parentItem());

    m_nearbyWlanText = documentPart<QQuickText>(this, "nearbyWlanText");
    setMultilingualText(m_nearbyWlanText, [] { return translated("Nearby Wi-Fi"); });
    m_scanButton = documentPart<BeepButton>(this, "scanButton");
    m_scanButtonImage = documentPart<QQuickItem>(this, "scanButtonImage");
    if (m_scanButton) {
        connect(m_scanButton, &QQuickAbstractButton::pressedChanged, this, &CardWifi::updateButtonsForState);
        connect(m_scanButton, &QQuickAbstractButton::clicked, this, &CardWifi::onClickScanWifi);
    }

    m_spinner = documentPart<QQuickImage>(this, "scaning");
    if (m_spinner)
        m_spinner->setVisible(false);
    m_passwordDialog->setSpinner(m_spinner);
    m_nearWlanTxt = documentPart<QQuickItem>(this, "nearWlanTxt");

    connect(this, &CardWifi::cardStateChanged, this, &CardWifi::updateButtonsForState);
    updateButtonsForState();

    if (m_returnButton)
        m_returnButton->setVisible(isVisible());

    scanWifi();
}

void CardWifi::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickControl::itemChange(change, value);
    if (change == ItemVisibleHasChanged && m_returnButton)
        m_returnButton->setVisible(isVisible());
}

void CardWifi::addResetButton(QQuickItem *row)
{
    auto *button = new BeepButton(row);
    button->setObjectName(QStringLiteral("wifiResetButton"));
    const qreal height = qRound(rowHeight() * 0.75);
    button->setHeight(height);
    button->setWidth(qRound(height * 20 / 9));
    anchorsOf(button)->setRight(rightOf(row));
    centreVertically(button, row);

    auto *background = new QQuickRectangle(button);
    anchorsOf(background)->setFill(button);
    background->setColor(ACCENT_BLUE);
    background->setRadius(5);

    QQuickText *text = newPlainText(background);
    text->setColor(Qt::white);
    setPixelSize(text, qMax(1, m_fontSize));
    anchorsOf(text)->setCenterIn(background);
    setMultilingualText(text, [] { return translated("Reset"); });

    connect(button, &QQuickAbstractButton::pressedChanged, this, &CardWifi::updateButtonsForState);
    connect(button, &QQuickAbstractButton::clicked, this, &CardWifi::wifiReset);
    m_resetButton = button;
}

void CardWifi::updateButtonsForState()
{
    const bool scanning = m_cardState == Scanning;
    if (m_resetButton) {
        m_resetButton->setEnabled(!scanning);
        m_resetButton->setOpacity(scanning ? 0.4 : m_resetButton->isPressed() ? 0.6 : 1.0);
    }
    if (m_scanButton)
        m_scanButton->setEnabled(!scanning);
    if (m_scanButtonImage) {
        const bool pressed = m_scanButton && m_scanButton->isPressed();
        m_scanButtonImage->setOpacity(scanning ? 0.4 : pressed ? 0.6 : 1.0);
    }

    if (!m_spinner)
        return;
    QQuickText *dialogMessage = m_passwordDialog->message();
    if (scanning && m_nearWlanTxt) {
        m_spinner->setParentItem(m_nearWlanTxt);
        m_spinner->setVisible(true);
    } else if (m_cardState == Connecting && dialogMessage) {
        m_spinner->setParentItem(dialogMessage);
        m_spinner->setVisible(true);
    } else {
        m_spinner->setVisible(false);
    }
}

void CardWifi::onColumnHeightChanged()
{
    if (!m_column)
        return;
    setHeight(qMax(int(m_column->height() + topInset() + 7), int(m_minHeight)));
}

// ---- Scanning and the list ----

void CardWifi::onClickScanWifi()
{
    if (m_cardState == Scanning)
        return;
    scanWifi();
}

void CardWifi::scanWifi()
{
    // The spinner shows while a scan, a reset or a connection attempt is under way.
    if (m_cardState == Scanning || m_cardState == Connecting)
        return;
    setState(Scanning);
    panel().scanWifi(scanResultTo(this));
}

void CardWifi::onScanResult(std::unique_ptr<std::vector<SsidInfo>> list)
{
    m_list->take(std::move(list));
    // A result that comes during a connection attempt leaves the attempt on show until its outcome.
    if (m_cardState != Connecting)
        setState(Idle);
    m_list->listFirstRows();
}

void CardWifi::clearWifiList()
{
    m_list->clear();
}

QQuickItem *CardWifi::addItem(const SsidInfo &record, int index)
{
    return m_list->addItem(record, index);
}

void CardWifi::addCurItem()
{
    m_list->addConnectedRow();
}

void CardWifi::updateCurrentWifi()
{
    m_list->updateConnected();
}

void CardWifi::updateSignalStrength()
{
    m_list->updateSignalStrength();
}

bool CardWifi::isConnected()
{
    return panel().isWifiConnected();
}

QString CardWifi::getSsid()
{
    return isConnected() ? getSsidFromCurWifi(panel().currentWifiSsid()) : QString();
}

QString CardWifi::getSsidFromScan(const HMI::SSID &ssid)
{
    return ssidText(ssid);
}

QString CardWifi::getSsidFromCurWifi(const HMI::SSID &ssid)
{
    return ssidText(ssid);
}

CardWifi::WIFI_INFO *CardWifi::findWifiBySsid(const HMI::SSID &ssid)
{
    return m_list->findBySsid(ssid);
}

CardWifi::WIFI_INFO *CardWifi::findWifiByCurrentSsid()
{
    return m_list->findByCurrentSsid();
}

const QVector<CardWifi::WIFI_INFO> &CardWifi::wifiList() const
{
    return m_list->entries();
}

void CardWifi::onWifiReset()
{
    m_list->clearConnected();
    m_list->clear();
    m_connection->forgetStrength();
    // A reset asked for during a scan only clears: the scan's result fills the list again.
    if (m_cardState == Scanning)
        return;
    setState(Scanning);
    panel().resetWifi(scanResultTo(this));
}

// ---- Connecting and the password dialog ----

void CardWifi::onClickWifiItem(int index)
{
    const QVector<WIFI_INFO> &list = m_list->entries();
    if (index < 0 || index >= list.size())
        return;
    const WIFI_INFO entry = list.at(index);
    m_connection->select(entry.ssid, entry.strength);
    openPwDialog();
    // A known password, or none needed: connect at once; otherwise the user types it first.
    if (entry.needPassword && entry.password.isEmpty())
        return;
    connectWifi(entry.ssid, entry.password);
}

void CardWifi::openPwDialog()
{
    m_passwordDialog->build();
    if (m_cardState == Connecting) {
        m_passwordDialog->openConnecting(getSsidFromCurWifi(panel().currentWifiSsid()));
        return;
    }
    if (const WIFI_INFO *entry = findWifiBySsid(m_connection->selectedSsid()))
        m_passwordDialog->openForm(getSsidFromScan(entry->ssid));
}

void CardWifi::addDialog()
{
    m_passwordDialog->build();
}

Dialog *CardWifi::passwordDialog() const
{
    return m_passwordDialog->dialog();
}

void CardWifi::adjustPwDialog()
{
    m_passwordDialog->adjust();
}

void CardWifi::onClickConFirm()
{
    const QString typed = m_passwordDialog->endTyping();
    WIFI_INFO *entry = findWifiBySsid(m_connection->selectedSsid());
    if (!entry)
        return;
    entry->password = typed;
    connectWifi(entry->ssid, entry->password);
}

void CardWifi::connectWifi(HMI::SSID wifiname, QString password)
{
    m_connection->start(wifiname, password);
}

void CardWifi::onConnectResult(HMI::SystemSet::StateWifi result)
{
    m_connection->onResult(result);
}

void CardWifi::update_afterOnLine()
{
    m_connection->afterOnline();
}

void CardWifi::setDhcpAndUpdateCurWifi()
{
    m_connection->requestAddress();
}

void CardWifi::closeDialog_and_updateCurWifiInfo()
{
    m_connection->finish();
}

int CardWifi::connectTimeout() const
{
    return m_connection->timeout();
}

void CardWifi::setConnectTimeout(int ms)
{
    m_connection->setTimeout(ms);
}

} // namespace QSP
