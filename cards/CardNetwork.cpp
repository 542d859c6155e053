#include "CardNetwork.h"

#include "AppRootItem.h"
#include "BeepButton.h"
#include "BeepSwitch.h"
#include "CIpInput.h"
#include "CMacInput.h"
#include "CardDNS.h"
#include "ComboBox.h"
#include "GlobalInfo.h"
#include "MeyerSingleton.h"

#include <QColor>
#include <QCoreApplication>
#include <QHostAddress>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QTimer>
#include <QtQuick/private/qquickanchors_p.h>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>

namespace {

const bool s_registered = QSP::AppRootItem::setCardTypeRegistrar(QSP::AppRootItem::Card_Network, [] {
    qmlRegisterType<QSP::CardNetwork>("QQuickSystemSet", 1, 0, "CardNetwork");
});

} // namespace

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;
using NIC = HMI::SystemSet::NIC;
using AddressSetter = void (HMI::SystemSet::*)(HMI::SystemSet::NIC, HMI::IP, bool);
using AddressGetter = HMI::IP (HMI::SystemSet::*)(HMI::SystemSet::NIC) const;

constexpr const char *Context = "CardNetwork";

const QColor NormalColor(0x1D, 0x21, 0x29);
const QColor MutedColor(0x86, 0x90, 0x9C);
const QColor ErrorColor(0xFF, 0x4D, 0x4F);
const QColor GoodColor(0x00, 0xBC, 0x79);
const QColor FrameColor(0xE2, 0xE3, 0xE5);

constexpr int WifiPollMs = 2000;
constexpr int ModemPollMs = 2000;
constexpr int VpnPollMs = 3000;
constexpr int DhcpAfterEnableMs = 1000;

QString translated(const char *source)
{
    return QCoreApplication::translate(Context, source);
}

const char *nicLabel(NIC nic)
{
    switch (nic) {
    case HMI::SystemSet::NIC_LAN0:
        return QT_TRANSLATE_NOOP("CardNetwork", "LAN0");
    case HMI::SystemSet::NIC_LAN1:
        return QT_TRANSLATE_NOOP("CardNetwork", "LAN1");
    case HMI::SystemSet::NIC_WIFI:
        return QT_TRANSLATE_NOOP("CardNetwork", "Wi-Fi");
    case HMI::SystemSet::NIC_4G:
        return QT_TRANSLATE_NOOP("CardNetwork", "4G");
    case HMI::SystemSet::NIC_VPN:
        return QT_TRANSLATE_NOOP("CardNetwork", "VPN");
    }
    return "";
}

bool isAddressAdapter(NIC nic)
{
    return nic == HMI::SystemSet::NIC_LAN0 || nic == HMI::SystemSet::NIC_LAN1 ||
           nic == HMI::SystemSet::NIC_WIFI;
}

QString dotted(HMI::IP ip)
{
    return QHostAddress(quint32(ip)).toString();
}

/// Shows @p ip in @p input, unless the user is typing in it.
void showAddress(CIpInput *input, HMI::IP ip)
{
    if (input && !input->editing())
        input->setIp(dotted(ip));
}

/// The connected network's name, empty when Wi-Fi is not connected.
QString connectedSsid()
{
    if (!Panel::instance().isWifiConnected())
        return QString();
    HMI::SSID ssid = Panel::instance().currentWifiSsid();
    ssid.back() = 0;
    return QString::fromUtf8(ssid.data(), int(qstrnlen(ssid.data(), ssid.size())));
}

QQuickAnchors *anchorsOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->anchors();
}

QQuickAnchorLine leftOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->left();
}

QQuickAnchorLine rightOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->right();
}

QQuickAnchorLine verticalCenterOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->verticalCenter();
}

/// Anchors @p item at the right end of @p row, vertically centred.
void anchorRight(QQuickItem *item, QQuickItem *row, qreal margin)
{
    QQuickAnchors *anchors = anchorsOf(item);
    anchors->setRight(rightOf(row));
    anchors->setRightMargin(margin);
    anchors->setVerticalCenter(verticalCenterOf(row));
}

/// Height of the address fields in rows: a little lower on narrow screens, where the fields would
/// otherwise reach the longest label.
qreal addressHeightFactor()
{
    return GlobalInfo::instance().screenSize().width() < 600 ? 0.5 : 0.56;
}

void setPixelSize(QQuickText *text, int pixelSize)
{
    QFont font = text->font();
    font.setPixelSize(pixelSize);
    text->setFont(font);
}

/// The adapter button document, compiled once for the life of the process; null (reported once) when it
/// cannot be used.
QQmlComponent *nicButtonComponent(QQmlEngine *engine)
{
    static QQmlComponent *component = nullptr;
    static bool reported = false;
    if (!component && engine)
        component =
            new QQmlComponent(engine, QUrl(QStringLiteral("qrc:/setting/flatui/NICButton.qml")), engine);
    if (component && component->isReady())
        return component;
    if (!reported) {
        reported = true;
        if (component)
            qWarning().noquote() << component->errorString();
        else
            qWarning("QSP::CardNetwork: no QML engine to make the adapter buttons in");
    }
    return nullptr;
}

} // namespace

CardNetwork::CardNetwork(QQuickItem *parent)
    : BaseCard(parent)
{
    qRegisterMetaType<HMI::SystemSet::NIC>();
    const GlobalInfo &info = GlobalInfo::instance();
    if (!info.isScreenPortrait() && info.screenSize().width() > 0)
        m_rowHeight = int(info.screenSize().width() * 0.060546875);
    m_fontPixelSize = int(m_rowHeight * 0.323);

    connect(this, &CardNetwork::currentNICChanged, this, &CardNetwork::changeNIC);
    connect(this, &CardNetwork::netDisabledChanged, this, &CardNetwork::updateAllAddressEnables);
    connect(this, &CardNetwork::useStaticIpChanged, this, &CardNetwork::updateAllAddressEnables);
    // A reset disconnects Wi-Fi: the addresses it had obtained are gone.
    connect(this, &CardNetwork::wifiReset, this, [this] {
        clearWifiAddresses();
        updateWifiStatus();
    });
    connect(&GlobalInfo::instance(), &GlobalInfo::localeChanged, this, &CardNetwork::fillServerList);
}

CardNetwork::~CardNetwork() = default;

void CardNetwork::setRowHeight(int height)
{
    if (height == m_rowHeight)
        return;
    m_rowHeight = height;
    Q_EMIT rowHeightChanged();
}

void CardNetwork::setFontPixelSize(int size)
{
    if (size == m_fontPixelSize)
        return;
    m_fontPixelSize = size;
    Q_EMIT fontPixelSizeChanged();
}

void CardNetwork::componentComplete()
{
    BaseCard::componentComplete();
    m_layout = qobject_cast<QQuickItem *>(property("layout").value<QObject *>());
    m_nicButtonFlow = qobject_cast<QQuickItem *>(property("nicButtonFlow").value<QObject *>());
    m_titleText = qobject_cast<QQuickText *>(property("titleText").value<QObject *>());
    if (m_titleText)
        setMultilingualText(m_titleText,
                            [] { return translated(QT_TRANSLATE_NOOP("CardNetwork", "Network")); });
    addNicButtons();
    if (AppRootItem *root = AppRootItem::instance())
        connect(root, &AppRootItem::opened, this, &CardNetwork::onOpened);
}

// Adapters and selection

void CardNetwork::addNicButtons()
{
    const int all = Panel::instance().getAllNIC();
    if (all & HMI::SystemSet::NIC_LAN0)
        addNicButton<HMI::SystemSet::NIC_LAN0>();
    if (all & HMI::SystemSet::NIC_LAN1)
        addNicButton<HMI::SystemSet::NIC_LAN1>();
    if (all & HMI::SystemSet::NIC_WIFI)
        addNicButton<HMI::SystemSet::NIC_WIFI>();
    if (all & HMI::SystemSet::NIC_4G)
        addNicButton<HMI::SystemSet::NIC_4G>();
    if (all & HMI::SystemSet::NIC_VPN)
        addNicButton<HMI::SystemSet::NIC_VPN>();

    // The modem and the VPN are never selected at first: they wait for the user.
    NIC first = NIC(0);
    for (NIC nic : {HMI::SystemSet::NIC_LAN0, HMI::SystemSet::NIC_LAN1, HMI::SystemSet::NIC_WIFI}) {
        if (all & nic) {
            first = nic;
            break;
        }
    }
    if (!first)
        return;
    if (BeepButton *button = m_nicButtons.value(first))
        button->setChecked(true);
    m_currentNIC = first;
    showItems(first, true);
}

template<HMI::SystemSet::NIC N>
void CardNetwork::addNicButton()
{
    QQmlEngine *engine = GlobalInfo::instance().qmlEngine();
    QQmlComponent *component = nicButtonComponent(engine);
    if (!component || !m_nicButtonFlow)
        return;
    QObject *object = component->beginCreate(engine->rootContext());
    auto *button = qobject_cast<BeepButton *>(object);
    if (!button) {
        if (object)
            component->completeCreate();
        delete object;
        return;
    }
    button->setParent(m_nicButtonFlow);
    button->setParentItem(m_nicButtonFlow);
    component->completeCreate();

    button->setObjectName(QStringLiteral("nicButton%1").arg(int(N)));
    button->setCheckable(true);
    button->setAutoExclusive(true);
    button->setHeight(m_rowHeight * 0.5);
    button->setProperty("fontSize", m_fontPixelSize);
    if (auto *text = qobject_cast<QQuickText *>(button->property("txt").value<QObject *>()))
        setMultilingualText(text, [] { return translated(nicLabel(N)); });
    m_nicButtons.insert(N, button);
    connect(button, &QQuickAbstractButton::clicked, this, [this] {
        Q_EMIT nicButtonClicked(N);
        setCurrentNIC(N);
    });
}

void CardNetwork::setCurrentNIC(HMI::SystemSet::NIC nic)
{
    if (nic == m_currentNIC)
        return;
    const NIC old = m_currentNIC;
    m_currentNIC = nic;
    Q_EMIT currentNICChanged(nic, old);
}

void CardNetwork::changeNIC(HMI::SystemSet::NIC newNic, HMI::SystemSet::NIC oldNic)
{
    if (BeepButton *button = m_nicButtons.value(newNic))
        button->setChecked(true);
    showItems(oldNic, false);
    showItems(newNic, true);
    updateAddressEnables(newNic);
    reloadDnsCard();

    if (oldNic == HMI::SystemSet::NIC_4G && m_4GTimer)
        m_4GTimer->stop();
    else if (oldNic == HMI::SystemSet::NIC_VPN && m_vpnTimer)
        m_vpnTimer->stop();
    else if (oldNic == HMI::SystemSet::NIC_WIFI)
        stopWifiTimer();

    if (newNic == HMI::SystemSet::NIC_4G) {
        setup4GTimer(Panel::instance().isNicEnabled(HMI::SystemSet::NIC_4G));
    } else if (newNic == HMI::SystemSet::NIC_VPN) {
        if (!m_vpnTimer) {
            m_vpnTimer = new QTimer(this);
            connect(m_vpnTimer, &QTimer::timeout, this, &CardNetwork::updateVPNStatus);
        }
        m_vpnTimer->start(VpnPollMs);
        updateVPNStatus();
    } else if (newNic == HMI::SystemSet::NIC_WIFI) {
        startWifiTimer();
        updateWifiStatus();
    }
}

void CardNetwork::showItems(NIC nic, bool visible)
{
    if (!nic)
        return;
    const auto rows = m_rows.constFind(nic);
    if (rows != m_rows.constEnd()) {
        for (QQuickItem *row : *rows)
            row->setVisible(visible);
        return;
    }
    if (!visible || !m_layout)
        return;
    switch (nic) {
    case HMI::SystemSet::NIC_LAN0:
        addItems<HMI::SystemSet::NIC_LAN0>();
        break;
    case HMI::SystemSet::NIC_LAN1:
        addItems<HMI::SystemSet::NIC_LAN1>();
        break;
    case HMI::SystemSet::NIC_WIFI:
        addItems<HMI::SystemSet::NIC_WIFI>();
        break;
    case HMI::SystemSet::NIC_4G:
        addItems<HMI::SystemSet::NIC_4G>();
        break;
    case HMI::SystemSet::NIC_VPN:
        addItems<HMI::SystemSet::NIC_VPN>();
        break;
    }
}

// Row builders

QQuickItem *CardNetwork::addColumnItemRoot(qreal heightFactor)
{
    auto *row = new QQuickItem(m_layout);
    QQuickAnchors *anchors = anchorsOf(row);
    anchors->setLeft(leftOf(m_layout));
    anchors->setRight(rightOf(m_layout));
    row->setHeight(m_rowHeight * heightFactor);
    return row;
}

QQuickText *CardNetwork::addColumnItemText(QQuickItem *row, const char *sourceText)
{
    auto *text = new QQuickText(row);
    setPixelSize(text, m_fontPixelSize);
    text->setColor(NormalColor);
    QQuickAnchors *anchors = anchorsOf(text);
    anchors->setLeft(leftOf(row));
    anchors->setLeftMargin(m_fontPixelSize);
    anchors->setVerticalCenter(verticalCenterOf(row));
    setMultilingualText(text, [sourceText] { return translated(sourceText); });
    return text;
}

QQuickText *CardNetwork::addColumnItemTextR(QQuickItem *row)
{
    auto *text = new QQuickText(row);
    setPixelSize(text, m_fontPixelSize);
    text->setColor(NormalColor);
    anchorRight(text, row, m_fontPixelSize);
    return text;
}

BeepSwitch *CardNetwork::addColumnItemSwitch(QQuickItem *row, bool on)
{
    auto *button = new BeepSwitch(row);
    const qreal height = qRound(m_rowHeight * 0.45);
    button->setSize(QSizeF(qRound(height * 1.8), height));
    button->setOn(on);
    anchorRight(button, row, m_fontPixelSize);
    return button;
}

CIpInput *CardNetwork::addColumnItemIp(QQuickItem *row, HMI::IP ip)
{
    CIpInput *input = CIpInput::create(GlobalInfo::instance().qmlEngine(), row);
    if (!input)
        return nullptr;
    input->setFontPixelSize(int(m_fontPixelSize * 0.9));
    input->setHeight(qRound(m_rowHeight * addressHeightFactor()));
    input->setIp(dotted(ip));
    anchorRight(input, row, m_fontPixelSize);
    return input;
}

CMacInput *CardNetwork::addColumnItemMac(QQuickItem *row, const HMI::MAC &mac)
{
    CMacInput *input = CMacInput::create(GlobalInfo::instance().qmlEngine(), row);
    if (!input)
        return nullptr;
    input->setFontPixelSize(int(m_fontPixelSize * 0.9));
    input->setSize(QSizeF(qRound(m_rowHeight * 3.9), qRound(m_rowHeight * addressHeightFactor())));
    input->setMac(mac);
    anchorRight(input, row, m_fontPixelSize);
    return input;
}

ComboBox *CardNetwork::addColumnItemComboBox(QQuickItem *row)
{
    auto *comboBox = new ComboBox(row);
    comboBox->setFontPixelSize(int(m_fontPixelSize * 0.9));
    comboBox->setSize(QSizeF(qRound(m_rowHeight * 3.0), qRound(m_rowHeight * 0.56)));
    anchorRight(comboBox, row, m_fontPixelSize);
    return comboBox;
}

QQuickImage *CardNetwork::addColumnItemImage(QQuickItem *row, const QString &source)
{
    auto *image = new QQuickImage(row);
    const qreal side = m_rowHeight * 0.6;
    image->setSize(QSizeF(side, side));
    image->setSourceSize(QSize(40, 40));
    image->setFillMode(QQuickImage::PreserveAspectFit);
    image->setSource(QUrl(source));
    anchorRight(image, row, m_fontPixelSize);
    return image;
}

// Wired and Wi-Fi adapters

template<HMI::SystemSet::NIC N>
void CardNetwork::addItems()
{
    if constexpr (N == HMI::SystemSet::NIC_4G) {
        HMI::SystemSet &panel = Panel::instance();
        QList<QQuickItem *> rows;

        QQuickItem *row = addColumnItemRoot(0.78);
        addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "4G"));
        BeepSwitch *onOff = addColumnItemSwitch(row, panel.isNicEnabled(N));
        m_enableSwitches.insert(N, onOff);
        connect(onOff, &QQuickAbstractButton::clicked, this, [this, onOff] {
            enableNIC<N>(onOff->on());
            Q_EMIT netDisabledChanged();
            reloadDnsCard();
        });
        rows << row;

        row = addColumnItemRoot(32.0 / 31.0);
        addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Signal"));
        m_signalImage = addColumnItemImage(row, QStringLiteral("qrc:/setting/icons/singal4G_3.png"));
        rows << row;

        row = addColumnItemRoot(32.0 / 31.0);
        addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Connection Status"));
        m_4GStateText = addColumnItemTextR(row);
        setMultilingualText(m_4GStateText, [this] { return translated(m_4GStateSource); });
        rows << row;

        m_rows.insert(N, rows);
    } else if constexpr (N == HMI::SystemSet::NIC_VPN) {
        HMI::SystemSet &panel = Panel::instance();
        QList<QQuickItem *> rows;

        QQuickItem *row = addColumnItemRoot(0.78);
        addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "VPN"));
        BeepSwitch *onOff = addColumnItemSwitch(row, panel.isNicEnabled(N));
        m_enableSwitches.insert(N, onOff);
        connect(onOff, &QQuickAbstractButton::clicked, this, [this, onOff] {
            enableNIC<N>(onOff->on());
            Q_EMIT netDisabledChanged();
            reloadDnsCard();
        });
        rows << row;

        row = addColumnItemRoot(32.0 / 31.0);
        addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Server"));
        m_serverComboBox = addColumnItemComboBox(row);
        fillServerList();
        m_serverComboBox->setCurrentIndex(panel.getVPNServer());
        // The server can be changed only while the tunnel is down.
        m_serverComboBox->setEnabled(!onOff->on());
        m_serverComboBox->setOpacity(onOff->on() ? 0.5 : 1.0);
        connect(m_serverComboBox, &ComboBox::currentIndexChanged, this, &CardNetwork::onServerPicked);
        rows << row;

        row = addColumnItemRoot(32.0 / 31.0);
        addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Connection Status"));
        m_vpnStateText = addColumnItemTextR(row);
        setMultilingualText(m_vpnStateText, [this] { return translated(m_vpnStateSource); });
        rows << row;

        m_rows.insert(N, rows);
    } else {
        addAddressRows(N);
    }
}

void CardNetwork::addAddressRows(NIC nic)
{
    HMI::SystemSet &panel = Panel::instance();
    QList<QQuickItem *> rows;

    QQuickItem *row = addColumnItemRoot(0.78);
    addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Disable Network"));
    BeepSwitch *disable = addColumnItemSwitch(row, !panel.isNicEnabled(nic));
    m_enableSwitches.insert(nic, disable);
    connect(disable, &QQuickAbstractButton::clicked, this,
            [this, nic, disable] { setAdapterDisabled(nic, disable->on()); });
    rows << row;

    if (nic == HMI::SystemSet::NIC_WIFI)
        rows << addWifiSummaryRow();

    row = addColumnItemRoot(0.78);
    addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Static IP"));
    BeepSwitch *staticIp = addColumnItemSwitch(row, !panel.isDhcpOn(nic));
    m_staticSwitches.insert(nic, staticIp);
    staticIp->onChangeEnabled(isEnable_FromSwitch(nic));
    connect(staticIp, &QQuickAbstractButton::clicked, this, [this, nic, staticIp] {
        setStatic(nic, staticIp->on());
        Q_EMIT useStaticIpChanged();
    });
    rows << row;

    const struct
    {
        const char *label;
        QHash<int, CIpInput *> *inputs;
        AddressGetter stored;
        AddressSetter write;
    } addresses[] = {
        {QT_TRANSLATE_NOOP("CardNetwork", "IP Address"), &m_ipInputs, &HMI::SystemSet::getIpFromEE,
         &HMI::SystemSet::setIp},
        {QT_TRANSLATE_NOOP("CardNetwork", "Subnet Mask"), &m_maskInputs, &HMI::SystemSet::getSubnetMaskFromEE,
         &HMI::SystemSet::setSubnetMask},
        {QT_TRANSLATE_NOOP("CardNetwork", "Default Gateway"), &m_gatewayInputs,
         &HMI::SystemSet::getGatewayFromEE, &HMI::SystemSet::setGateway},
    };
    CIpInput *firstInput = nullptr;
    for (const auto &address : addresses) {
        row = addColumnItemRoot(0.75);
        addColumnItemText(row, address.label);
        CIpInput *input = addColumnItemIp(row, (panel.*address.stored)(nic));
        rows << row;
        if (!input)
            continue;
        firstInput = firstInput ? firstInput : input;
        address.inputs->insert(nic, input);
        // Only a finished edit is written; the field has validated what it delivers.
        connect(input, &CIpInput::ipChangedByEdit, this, [nic, write = address.write](unsigned int ip) {
            (Panel::instance().*write)(nic, HMI::IP(ip), true);
        });
    }

    row = addColumnItemRoot(0.75);
    addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "MAC"));
    if (CMacInput *mac = addColumnItemMac(row, panel.getMac(nic))) {
        mac->setEnabled(false);
        if (firstInput) {
            // Same width as the address fields above it, so that the column lines up.
            mac->setWidth(firstInput->width());
            connect(firstInput, &QQuickItem::widthChanged, mac,
                    [mac, firstInput] { mac->setWidth(firstInput->width()); });
        }
    }
    rows << row;

    m_rows.insert(nic, rows);
    updateAddressEnables(nic);

    // A DHCP adapter asks for its address again each time its rows are first shown.
    if (panel.isDhcpOn(nic))
        setStatic(nic, false);
    showBuiltAddresses(nic);
}

QQuickItem *CardNetwork::addWifiSummaryRow()
{
    const bool enabled = Panel::instance().isNicEnabled(HMI::SystemSet::NIC_WIFI);
    auto *button = new BeepButton(m_layout);
    button->setObjectName(QStringLiteral("wifiSettingsButton"));
    QQuickAnchors *anchors = anchorsOf(button);
    anchors->setLeft(leftOf(m_layout));
    anchors->setRight(rightOf(m_layout));
    anchors->setLeftMargin(m_fontPixelSize);
    anchors->setRightMargin(m_fontPixelSize);
    const qreal height = m_rowHeight * 41.0 / 31.0;
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
    icon->setSource(QUrl(QStringLiteral("qrc:/setting/icons/4@2x.png")));
    anchorsOf(icon)->setLeft(leftOf(button));
    anchorsOf(icon)->setLeftMargin(m_fontPixelSize);
    anchorsOf(icon)->setVerticalCenter(verticalCenterOf(button));

    auto *label = new QQuickText(button);
    setPixelSize(label, m_fontPixelSize);
    label->setColor(NormalColor);
    anchorsOf(label)->setLeft(rightOf(icon));
    anchorsOf(label)->setLeftMargin(iconSide / 3);
    anchorsOf(label)->setVerticalCenter(verticalCenterOf(button));
    setMultilingualText(label, [] { return translated(QT_TRANSLATE_NOOP("CardNetwork", "Wi-Fi Settings")); });

    m_wifiArrow = new QQuickImage(button);
    const qreal arrowSide = height * 12.0 / 41.0;
    m_wifiArrow->setSize(QSizeF(arrowSide, arrowSide));
    m_wifiArrow->setSourceSize(QSize(64, 64));
    m_wifiArrow->setSource(QUrl(QStringLiteral("qrc:/setting/icons/rightArrow0@2x.png")));
    m_wifiArrow->setVisible(enabled);
    anchorRight(m_wifiArrow, button, m_fontPixelSize);

    m_wifiStateText = new QQuickText(button);
    setPixelSize(m_wifiStateText, m_fontPixelSize);
    m_wifiStateText->setColor(MutedColor);
    anchorRight(m_wifiStateText, button, m_fontPixelSize * 1.5 + arrowSide);
    m_wifiStateSource = QT_TRANSLATE_NOOP("CardNetwork", "Offline");
    setMultilingualText(m_wifiStateText, [this] { return translated(m_wifiStateSource); });

    // The network's name fills the room between the label and the state, shortened when it is long. On a
    // narrow screen there is no such room: the name goes under the label.
    m_wifiSsidText = new QQuickText(button);
    setPixelSize(m_wifiSsidText, m_fontPixelSize);
    m_wifiSsidText->setColor(MutedColor);
    m_wifiSsidText->setElideMode(QQuickText::ElideRight);
    QQuickAnchors *ssidAnchors = anchorsOf(m_wifiSsidText);
    ssidAnchors->setRight(leftOf(m_wifiStateText));
    ssidAnchors->setRightMargin(16);
    if (GlobalInfo::instance().screenSize().width() < 600) {
        connect(m_wifiSsidText, &QQuickText::textChanged, label, [label, text = m_wifiSsidText, height] {
            anchorsOf(label)->setVerticalCenterOffset(text->text().isEmpty() ? 0 : -height * 0.16);
        });
        ssidAnchors->setLeft(leftOf(label));
        ssidAnchors->setTop(QQuickItemPrivate::get(label)->bottom());
    } else {
        ssidAnchors->setLeft(rightOf(label));
        ssidAnchors->setLeftMargin(16);
        ssidAnchors->setVerticalCenter(verticalCenterOf(button));
    }
    connect(&GlobalInfo::instance(), &GlobalInfo::localeChanged, m_wifiSsidText, [this] {
        if (m_wifiSsidUnknown)
            m_wifiSsidText->setText(translated(QT_TRANSLATE_NOOP("CardNetwork", "Unknown")));
    });

    connect(this, &CardNetwork::wifiEnableChanged, button, [this, button](bool enable) {
        button->setEnabled(enable);
        m_wifiArrow->setVisible(enable);
    });
    connect(button, &QQuickAbstractButton::clicked, this, &CardNetwork::switchToWifiCard);

    m_wifiButton = button;
    updateWifiStatus();
    return button;
}

template<HMI::SystemSet::NIC N>
void CardNetwork::enableNIC(bool value)
{
    HMI::SystemSet &panel = Panel::instance();
    if constexpr (N == HMI::SystemSet::NIC_4G) {
        setup4GTimer(value);
        panel.enableNIC(N, value, true);
    } else if constexpr (N == HMI::SystemSet::NIC_VPN) {
        if (m_serverComboBox) {
            m_serverComboBox->setEnabled(!value);
            m_serverComboBox->setOpacity(value ? 0.5 : 1.0);
        }
        if (value) {
            updateVPNStatus();
            panel.enableNIC(N, true, true);
        } else {
            panel.resetVPNIp(panel.getVPNServer());
            updateVPNStatus();
            panel.enableNIC(N, false, true);
        }
    } else {
        // For wired and Wi-Fi adapters the switch says "Disable Network": on means switched off.
        const bool disable = value;
        panel.enableNIC(N, !disable, true);
        if (!disable && !isStatic_FromSwitch(N)) {
            // A DHCP adapter that comes back asks for an address a second later, unless the user has
            // changed the switches in the meantime.
            QTimer::singleShot(DhcpAfterEnableMs, this, [this] {
                if (isEnable_FromSwitch(N) && !isStatic_FromSwitch(N))
                    enableStatic<N>(false);
            });
        }
        if constexpr (N == HMI::SystemSet::NIC_WIFI) {
            Q_EMIT wifiEnableChanged(!disable);
            if (disable)
                stopWifiTimer();
            else if (m_currentNIC == N)
                startWifiTimer();
            updateWifiStatus();
        }
    }
}

template<HMI::SystemSet::NIC N>
void CardNetwork::enableStatic(bool on)
{
    CardNetwork *card = this;
    Panel::instance().setDHCP(
        N, !on,
        [card](HMI::SystemSet::DHCP_STATE state) {
            // On the library's thread: hand the outcome to the card's thread, touching nothing here.
            QMetaObject::invokeMethod(
                card, [card, state] { card->onEnableDHCP(N, state); }, Qt::QueuedConnection);
        },
        true);
}

void CardNetwork::setAdapterDisabled(NIC nic, bool disable)
{
    switch (nic) {
    case HMI::SystemSet::NIC_LAN0:
        enableNIC<HMI::SystemSet::NIC_LAN0>(disable);
        break;
    case HMI::SystemSet::NIC_LAN1:
        enableNIC<HMI::SystemSet::NIC_LAN1>(disable);
        break;
    case HMI::SystemSet::NIC_WIFI:
        enableNIC<HMI::SystemSet::NIC_WIFI>(disable);
        break;
    default:
        return;
    }
    if (BeepSwitch *staticIp = m_staticSwitches.value(nic))
        staticIp->onChangeEnabled(isEnable_FromSwitch(nic));
    Q_EMIT netDisabledChanged();
    reloadDnsCard();
}

void CardNetwork::setStatic(NIC nic, bool on)
{
    switch (nic) {
    case HMI::SystemSet::NIC_LAN0:
        enableStatic<HMI::SystemSet::NIC_LAN0>(on);
        break;
    case HMI::SystemSet::NIC_LAN1:
        enableStatic<HMI::SystemSet::NIC_LAN1>(on);
        break;
    case HMI::SystemSet::NIC_WIFI:
        enableStatic<HMI::SystemSet::NIC_WIFI>(on);
        break;
    default:
        break;
    }
}

void CardNetwork::onEnableDHCP(NIC nic, HMI::SystemSet::DHCP_STATE state)
{
    // A failed request on Wi-Fi is worth a refresh only while a network is there.
    if (state != 0 || nic != HMI::SystemSet::NIC_WIFI || Panel::instance().isWifiConnected())
        updateNetInfoDisplay(nic);
}

/// The addresses as the rows are first shown, or shown again on opening: the live ones of a DHCP adapter
/// (of Wi-Fi: while connected), else the stored static configuration.
void CardNetwork::showBuiltAddresses(NIC nic)
{
    HMI::SystemSet &panel = Panel::instance();
    const bool live = nic == HMI::SystemSet::NIC_WIFI ? panel.isWifiConnected() : panel.isDhcpOn(nic);
    if (live) {
        updateDisplay_IP(nic);
        updateDisplay_SubnetMask(nic);
        updateDisplay_Gateway(nic);
    } else if (!panel.isDhcpOn(nic)) {
        showAddress(m_ipInputs.value(nic), panel.getIpFromEE(nic));
        showAddress(m_maskInputs.value(nic), panel.getSubnetMaskFromEE(nic));
        showAddress(m_gatewayInputs.value(nic), panel.getGatewayFromEE(nic));
    }
}

void CardNetwork::clearWifiAddresses()
{
    // A static configuration stays on show: it is the adapter's own, not the network's.
    if (isStatic_FromSwitch(HMI::SystemSet::NIC_WIFI))
        return;
    for (const auto *inputs : {&m_ipInputs, &m_maskInputs, &m_gatewayInputs}) {
        CIpInput *input = inputs->value(HMI::SystemSet::NIC_WIFI);
        if (input && !input->editing())
            input->clear();
    }
}

// Switch rules

bool CardNetwork::isEnable_FromSwitch(HMI::SystemSet::NIC nic) const
{
    const BeepSwitch *disable = isAddressAdapter(nic) ? m_enableSwitches.value(nic) : nullptr;
    return disable && !disable->on();
}

bool CardNetwork::isStatic_FromSwitch(HMI::SystemSet::NIC nic) const
{
    const BeepSwitch *staticIp = isAddressAdapter(nic) ? m_staticSwitches.value(nic) : nullptr;
    return staticIp && staticIp->on();
}

bool CardNetwork::allow_ModifyIPInfo(HMI::SystemSet::NIC nic) const
{
    return isStatic_FromSwitch(nic) && isEnable_FromSwitch(nic);
}

void CardNetwork::updateEnable_IP(NIC nic)
{
    if (CIpInput *input = m_ipInputs.value(nic))
        input->setEnabled(allow_ModifyIPInfo(nic));
}

void CardNetwork::updateEnable_SubnetMask(NIC nic)
{
    if (CIpInput *input = m_maskInputs.value(nic))
        input->setEnabled(allow_ModifyIPInfo(nic));
}

void CardNetwork::updateEnable_Gateway(NIC nic)
{
    if (CIpInput *input = m_gatewayInputs.value(nic))
        input->setEnabled(allow_ModifyIPInfo(nic));
}

void CardNetwork::updateAddressEnables(NIC nic)
{
    updateEnable_IP(nic);
    updateEnable_SubnetMask(nic);
    updateEnable_Gateway(nic);
}

void CardNetwork::updateAllAddressEnables()
{
    for (NIC nic : {HMI::SystemSet::NIC_LAN0, HMI::SystemSet::NIC_LAN1, HMI::SystemSet::NIC_WIFI})
        updateAddressEnables(nic);
}

void CardNetwork::updateDisplay_IP(NIC nic)
{
    HMI::SystemSet &panel = Panel::instance();
    if (panel.isNicEnabled(nic) && isEnable_FromSwitch(nic))
        showAddress(m_ipInputs.value(nic), panel.getIp(nic));
}

void CardNetwork::updateDisplay_SubnetMask(NIC nic)
{
    HMI::SystemSet &panel = Panel::instance();
    if (panel.isNicEnabled(nic) && isEnable_FromSwitch(nic))
        showAddress(m_maskInputs.value(nic), panel.getSubnetMask(nic));
}

void CardNetwork::updateDisplay_Gateway(NIC nic)
{
    HMI::SystemSet &panel = Panel::instance();
    if (panel.isNicEnabled(nic) && isEnable_FromSwitch(nic))
        showAddress(m_gatewayInputs.value(nic), panel.getGateway(nic));
}

void CardNetwork::updateNetInfoDisplay(HMI::SystemSet::NIC nic)
{
    if (!Panel::instance().isNicEnabled(nic))
        return;
    updateDisplay_IP(nic);
    updateDisplay_SubnetMask(nic);
    updateDisplay_Gateway(nic);
    reloadDnsCard();
}

bool CardNetwork::syncEnableSwitch(NIC nic)
{
    BeepSwitch *onOff = m_enableSwitches.value(nic);
    if (!onOff)
        return false;
    const bool enabled = Panel::instance().isNicEnabled(nic);
    // The 4G and VPN switches name the interface; the others say "Disable Network".
    const bool on = isAddressAdapter(nic) ? !enabled : enabled;
    if (onOff->on() == on)
        return false;
    onOff->setOn(on);
    if (nic == HMI::SystemSet::NIC_WIFI)
        Q_EMIT wifiEnableChanged(enabled);
    return true;
}

void CardNetwork::updateSwitchDisplay_EnableDisable(HMI::SystemSet::NIC nic)
{
    syncEnableSwitch(nic);
}

void CardNetwork::updateSwitchDisplay_static(HMI::SystemSet::NIC nic)
{
    BeepSwitch *staticIp = m_staticSwitches.value(nic);
    if (!staticIp)
        return;
    const bool on = !Panel::instance().isDhcpOn(nic);
    if (staticIp->on() == on)
        return;
    staticIp->setOn(on);
    Q_EMIT useStaticIpChanged();
}

void CardNetwork::reloadDnsCard()
{
    AppRootItem *root = AppRootItem::instance();
    if (auto *dns = root ? qobject_cast<CardDNS *>(root->getCardItem(AppRootItem::Card_DNS)) : nullptr) {
        dns->loadDnsAndShow();
        dns->updateEnable_DNS();
    }
}

/// The screen was opened again: follow what may have changed elsewhere meanwhile.
void CardNetwork::onOpened()
{
    HMI::SystemSet &panel = Panel::instance();
    bool onOffChanged = false;
    for (NIC nic : {HMI::SystemSet::NIC_LAN0, HMI::SystemSet::NIC_LAN1, HMI::SystemSet::NIC_WIFI}) {
        if (!m_enableSwitches.contains(nic))
            continue;
        onOffChanged |= syncEnableSwitch(nic);
        if (BeepSwitch *staticIp = m_staticSwitches.value(nic)) {
            staticIp->setOn(!panel.isDhcpOn(nic));
            staticIp->onChangeEnabled(isEnable_FromSwitch(nic));
        }
        updateAddressEnables(nic);
        if (panel.isDhcpOn(nic))
            setStatic(nic, false);
        showBuiltAddresses(nic);
    }
    if (syncEnableSwitch(HMI::SystemSet::NIC_4G)) {
        onOffChanged = true;
        if (m_currentNIC == HMI::SystemSet::NIC_4G)
            setup4GTimer(panel.isNicEnabled(HMI::SystemSet::NIC_4G));
    }
    if (syncEnableSwitch(HMI::SystemSet::NIC_VPN))
        onOffChanged = true;
    if (m_serverComboBox) {
        const bool vpnOn = panel.isNicEnabled(HMI::SystemSet::NIC_VPN);
        m_serverComboBox->setEnabled(!vpnOn);
        m_serverComboBox->setOpacity(vpnOn ? 0.5 : 1.0);
        m_serverComboBox->setCurrentIndex(panel.getVPNServer());
        if (m_currentNIC == HMI::SystemSet::NIC_VPN)
            updateVPNStatus();
    }
    if (onOffChanged)
        Q_EMIT netDisabledChanged();
    updateWifiStatus();
    reloadDnsCard();
}

// 4G modem

void CardNetwork::setup4GTimer(bool run)
{
    if (!run) {
        if (m_4GTimer)
            m_4GTimer->stop();
        clear4GDisplay();
        return;
    }
    if (!m_4GTimer) {
        m_4GTimer = new QTimer(this);
        connect(m_4GTimer, &QTimer::timeout, this, &CardNetwork::update4GSignal);
    }
    clear4GDisplay();
    m_4GTimer->start(ModemPollMs);
    update4GSignal();
}

void CardNetwork::clear4GDisplay()
{
    if (m_signalImage)
        m_signalImage->setSource(QUrl(QStringLiteral("qrc:/setting/icons/singal4G_0.png")));
    setStateText(m_4GStateText, m_4GStateSource, QT_TRANSLATE_NOOP("CardNetwork", "Not connected"),
                 NormalColor);
}

void CardNetwork::update4GSignal()
{
    HMI::SystemSet &panel = Panel::instance();
    if (m_signalImage) {
        const int signal = panel.get4GSignal(HMI::SystemSet::NIC_4G);
        // Five bands of 20; a value above 100 is not a reading and leaves the icon as it was.
        if (signal <= 100) {
            const int band = signal < 1 ? 0 : (signal + 19) / 20;
            m_signalImage->setSource(QUrl(QStringLiteral("qrc:/setting/icons/singal4G_%1.png").arg(band)));
        }
    }
    if (m_4GStateText) {
        const char *state = QT_TRANSLATE_NOOP("CardNetwork", "Unknown");
        switch (panel.get4GState(HMI::SystemSet::NIC_4G)) {
        case 0:
            state = QT_TRANSLATE_NOOP("CardNetwork", "Not connected");
            break;
        case 1:
            state = QT_TRANSLATE_NOOP("CardNetwork", "Connecting...");
            break;
        case 2:
            state = QT_TRANSLATE_NOOP("CardNetwork", "Connection successful");
            break;
        }
        setStateText(m_4GStateText, m_4GStateSource, state, NormalColor);
    }
}

void CardNetwork::setStateText(QQuickText *text, const char *&source, const char *newSource,
                               const QColor &color)
{
    if (!text)
        return;
    source = newSource;
    text->setText(translated(source));
    text->setColor(color);
}

// VPN

void CardNetwork::fillServerList()
{
    if (!m_serverComboBox)
        return;
    m_serverComboBox->setStringListModel({translated(QT_TRANSLATE_NOOP("CardNetwork", "Asia")),
                                          translated(QT_TRANSLATE_NOOP("CardNetwork", "Europe"))});
    if (m_serverComboBox->currentIndex() < 0)
        m_serverComboBox->setCurrentIndex(Panel::instance().getVPNServer());
}

void CardNetwork::onServerPicked()
{
    const int index = m_serverComboBox->currentIndex();
    if (index < 0)
        return;
    HMI::SystemSet &panel = Panel::instance();
    const auto server = HMI::SystemSet::VPNServer(index);
    // Following the system's own choice (on opening, after a language change) writes nothing.
    if (server != panel.getVPNServer()) {
        panel.setVPNServer(server);
        panel.resetVPNIp(server);
    }
    updateVPNStatus();
}

void CardNetwork::updateVPNStatus()
{
    if (!m_vpnStateText)
        return;
    HMI::SystemSet &panel = Panel::instance();
    const int state = panel.getVPNServerState(panel.getVPNServer());
    const char *text = QT_TRANSLATE_NOOP("CardNetwork", "Unknown Status");
    QColor color = ErrorColor;
    if (state != 0 && !panel.isNicEnabled(HMI::SystemSet::NIC_VPN)) {
        text = QT_TRANSLATE_NOOP("CardNetwork", "Not connected");
        color = NormalColor;
    } else {
        switch (state) {
        case 0:
            text = QT_TRANSLATE_NOOP("CardNetwork", "Not connected");
            color = NormalColor;
            break;
        case 1:
            text = QT_TRANSLATE_NOOP("CardNetwork", "Connecting...");
            color = NormalColor;
            break;
        case 2:
            text = QT_TRANSLATE_NOOP("CardNetwork", "HMI not authorized");
            break;
        case 3:
            text = QT_TRANSLATE_NOOP("CardNetwork", "SSL Error");
            break;
        case 4:
            text = QT_TRANSLATE_NOOP("CardNetwork", "Certificate Error");
            break;
        case 5:
            text = QT_TRANSLATE_NOOP("CardNetwork", "VPN connected");
            color = GoodColor;
            break;
        }
    }
    setStateText(m_vpnStateText, m_vpnStateSource, text, color);
}

// Wi-Fi summary

void CardNetwork::setWifiConnecting(bool connecting)
{
    m_wifiConnecting = connecting;
    if (!connecting)
        updateWifiStatus();
}

void CardNetwork::startWifiTimer()
{
    if (!m_wifiTimer) {
        m_wifiTimer = new QTimer(this);
        connect(m_wifiTimer, &QTimer::timeout, this, &CardNetwork::updateWifiStatus);
    }
    if (!m_wifiTimer->isActive())
        m_wifiTimer->start(WifiPollMs);
}

void CardNetwork::stopWifiTimer()
{
    if (m_wifiTimer)
        m_wifiTimer->stop();
}

void CardNetwork::updateWifiTimer()
{
    if (m_currentNIC == HMI::SystemSet::NIC_WIFI && Panel::instance().isNicEnabled(HMI::SystemSet::NIC_WIFI))
        startWifiTimer();
    else
        stopWifiTimer();
    updateWifiStatus();
}

void CardNetwork::updateWifiStatus()
{
    // While the Wi-Fi card connects, the summary keeps what it showed.
    if (!m_wifiButton || m_wifiConnecting)
        return;
    if (!Panel::instance().isNicEnabled(HMI::SystemSet::NIC_WIFI)) {
        setStateText(m_wifiStateText, m_wifiStateSource, QT_TRANSLATE_NOOP("CardNetwork", "Offline"),
                     MutedColor);
        m_wifiSsidUnknown = false;
        m_wifiSsidText->setText(QString());
        stopWifiTimer();
        return;
    }
    if (m_currentNIC == HMI::SystemSet::NIC_WIFI)
        startWifiTimer();

    const bool connected = Panel::instance().isWifiConnected();
    const QString ssid = connectedSsid();
    if (connected) {
        setStateText(m_wifiStateText, m_wifiStateSource, QT_TRANSLATE_NOOP("CardNetwork", "Online"),
                     MutedColor);
        m_wifiSsidUnknown = ssid.isEmpty();
        m_wifiSsidText->setText(m_wifiSsidUnknown ? translated(QT_TRANSLATE_NOOP("CardNetwork", "Unknown"))
                                                  : ssid);
        updateNetInfoDisplay(HMI::SystemSet::NIC_WIFI);
        AppRootItem *root = AppRootItem::instance();
        QQuickItem *wifiCard = root ? root->getCardItem(AppRootItem::Card_Wifi) : nullptr;
        if (wifiCard && wifiCard->metaObject()->indexOfMethod("updateSignalStrength()") >= 0)
            QMetaObject::invokeMethod(wifiCard, "updateSignalStrength");
    } else {
        setStateText(m_wifiStateText, m_wifiStateSource, QT_TRANSLATE_NOOP("CardNetwork", "Offline"),
                     MutedColor);
        m_wifiSsidUnknown = false;
        m_wifiSsidText->setText(QString());
        if (m_wifiWasConnected)
            clearWifiAddresses();
    }
    m_wifiWasConnected = connected;
    Q_EMIT wifiStatusChanged(connected, ssid);
}

} // namespace QSP
