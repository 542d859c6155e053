#include "cards/CardNetwork.h"

#include "cards/CardDNS.h"
#include "cards/CardWifi.h"
#include "cards/SsidText.h"
#include "controls/BeepButton.h"
#include "controls/BeepSwitch.h"
#include "controls/CIpInput.h"
#include "controls/CMacInput.h"
#include "controls/ComboBox.h"
#include "shell/AppRootItem.h"
#include "shell/ComponentCache.h"
#include "shell/DocumentPart.h"
#include "shell/GlobalInfo.h"
#include "shell/OnGuiThread.h"
#include "shell/Palette.h"
#include "systemset/MeyerSingleton.h"

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

#include <iterator>

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;
using NIC = HMI::SystemSet::NIC;
using AddressSetter = void (HMI::SystemSet::*)(HMI::SystemSet::NIC, HMI::IP, bool);
using AddressGetter = HMI::IP (HMI::SystemSet::*)(HMI::SystemSet::NIC) const;

constexpr const char *Context = "CardNetwork";

const QColor NormalColor(Palette::Text);
const QColor MutedColor(Palette::MutedText);
const QColor ErrorColor(Palette::Error);
const QColor GoodColor(Palette::Good);
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

/// The address rows of a wired or Wi-Fi adapter, in the order of CardNetwork::AddressField.
const struct
{
    const char *label;
    AddressGetter live;   ///< the address in use
    AddressGetter stored; ///< the static configuration
    AddressSetter write;
} AddressRows[] = {
    {QT_TRANSLATE_NOOP("CardNetwork", "IP Address"), &HMI::SystemSet::getIp, &HMI::SystemSet::getIpFromEE,
     &HMI::SystemSet::setIp},
    {QT_TRANSLATE_NOOP("CardNetwork", "Subnet Mask"), &HMI::SystemSet::getSubnetMask,
     &HMI::SystemSet::getSubnetMaskFromEE, &HMI::SystemSet::setSubnetMask},
    {QT_TRANSLATE_NOOP("CardNetwork", "Default Gateway"), &HMI::SystemSet::getGateway,
     &HMI::SystemSet::getGatewayFromEE, &HMI::SystemSet::setGateway},
};

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
    return ssidText(Panel::instance().currentWifiSsid());
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

/// The adapter button document, compiled once per engine; null (reported once) when it cannot be used.
QQmlComponent *nicButtonComponent(QQmlEngine *engine)
{
    static ComponentCache document(QUrl(QStringLiteral("qrc:/setting/flatui/NICButton.qml")));
    if (!engine)
        qWarning("QSP::CardNetwork: no QML engine to make the adapter buttons in");
    return document.component(engine);
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
    m_layout = documentPart<QQuickItem>(this, "layout");
    m_nicButtonFlow = documentPart<QQuickItem>(this, "nicButtonFlow");
    m_titleText = documentPart<QQuickText>(this, "titleText");
    if (m_titleText)
        setMultilingualText(m_titleText,
                            [] { return translated(QT_TRANSLATE_NOOP("CardNetwork", "Network")); });
    addNicButtons();
    if (AppRootItem *root = AppRootItem::instance()) {
        connect(root, &AppRootItem::opened, this, &CardNetwork::onOpened);
        // A closed screen asks the system nothing: the status polls stop, and opening starts them again.
        connect(root, &QQuickItem::visibleChanged, this, [this, root] {
            if (!root->isVisible())
                stopStatusTimers();
        });
    }
}

// Adapters and selection

void CardNetwork::addNicButtons()
{
    const int all = Panel::instance().getAllNIC();
    for (NIC nic : {HMI::SystemSet::NIC_LAN0, HMI::SystemSet::NIC_LAN1, HMI::SystemSet::NIC_WIFI,
                    HMI::SystemSet::NIC_4G, HMI::SystemSet::NIC_VPN}) {
        if (all & nic)
            addNicButton(nic);
    }

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

void CardNetwork::addNicButton(NIC nic)
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

    button->setObjectName(QStringLiteral("nicButton%1").arg(int(nic)));
    button->setCheckable(true);
    button->setAutoExclusive(true);
    button->setHeight(m_rowHeight * 0.5);
    button->setProperty("fontSize", m_fontPixelSize);
    if (auto *text = documentPart<QQuickText>(button, "txt"))
        setMultilingualText(text, [nic] { return translated(nicLabel(nic)); });
    m_nicButtons.insert(nic, button);
    connect(button, &QQuickAbstractButton::clicked, this, [this, nic] {
        Q_EMIT nicButtonClicked(nic);
        setCurrentNIC(nic);
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
        startPoll(m_vpnTimer, &CardNetwork::updateVPNStatus, VpnPollMs);
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
    if (isAddressAdapter(nic))
        addAddressRows(nic);
    else if (nic == HMI::SystemSet::NIC_4G)
        m_rows.insert(nic, addModemRows());
    else if (nic == HMI::SystemSet::NIC_VPN)
        m_rows.insert(nic, addVpnRows());
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
    text->setTextFormat(QQuickText::PlainText);
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
    text->setTextFormat(QQuickText::PlainText);
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

// 4G modem and VPN rows

/// The first row of the 4G modem and of the VPN: the interface's name and its on/off switch.
QQuickItem *CardNetwork::addOnOffRow(NIC nic, const char *label)
{
    QQuickItem *row = addColumnItemRoot(0.78);
    addColumnItemText(row, label);
    BeepSwitch *onOff = addColumnItemSwitch(row, Panel::instance().isNicEnabled(nic));
    m_enableSwitches.insert(nic, onOff);
    connect(onOff, &QQuickAbstractButton::clicked, this,
            [this, nic, onOff] { setInterfaceOn(nic, onOff->on()); });
    return row;
}

/// A "Connection Status" row whose state @p text shows the translation of @p *source.
QQuickItem *CardNetwork::addStateRow(QQuickText *&text, const char *const *source)
{
    QQuickItem *row = addColumnItemRoot(32.0 / 31.0);
    addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Connection Status"));
    text = addColumnItemTextR(row);
    setMultilingualText(text, [source] { return translated(*source); });
    return row;
}

QList<QQuickItem *> CardNetwork::addModemRows()
{
    QList<QQuickItem *> rows{addOnOffRow(HMI::SystemSet::NIC_4G, QT_TRANSLATE_NOOP("CardNetwork", "4G"))};

    QQuickItem *row = addColumnItemRoot(32.0 / 31.0);
    addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Signal"));
    m_signalImage = addColumnItemImage(row, QStringLiteral("qrc:/setting/icons/singal4G_3.png"));
    rows << row;

    rows << addStateRow(m_4GStateText, &m_4GStateSource);
    return rows;
}

QList<QQuickItem *> CardNetwork::addVpnRows()
{
    QList<QQuickItem *> rows{addOnOffRow(HMI::SystemSet::NIC_VPN, QT_TRANSLATE_NOOP("CardNetwork", "VPN"))};
    const bool on = m_enableSwitches.value(HMI::SystemSet::NIC_VPN)->on();

    QQuickItem *row = addColumnItemRoot(32.0 / 31.0);
    addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Server"));
    m_serverComboBox = addColumnItemComboBox(row);
    fillServerList();
    m_serverComboBox->setCurrentIndex(Panel::instance().getVPNServer());
    // The server can be changed only while the tunnel is down.
    m_serverComboBox->setEnabled(!on);
    m_serverComboBox->setOpacity(on ? 0.5 : 1.0);
    connect(m_serverComboBox, &ComboBox::currentIndexChanged, this, &CardNetwork::onServerPicked);
    rows << row;

    rows << addStateRow(m_vpnStateText, &m_vpnStateSource);
    return rows;
}

// Wired and Wi-Fi adapters

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

    static_assert(std::size(AddressRows) == AddressFieldCount);
    CIpInput *firstInput = nullptr;
    for (int field = 0; field < AddressFieldCount; ++field) {
        const auto &address = AddressRows[field];
        row = addColumnItemRoot(0.75);
        addColumnItemText(row, address.label);
        CIpInput *input = addColumnItemIp(row, (panel.*address.stored)(nic));
        rows << row;
        if (!input)
            continue;
        firstInput = firstInput ? firstInput : input;
        m_addressInputs[field].insert(nic, input);
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
    label->setTextFormat(QQuickText::PlainText);
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
    m_wifiStateText->setTextFormat(QQuickText::PlainText);
    setPixelSize(m_wifiStateText, m_fontPixelSize);
    m_wifiStateText->setColor(MutedColor);
    anchorRight(m_wifiStateText, button, m_fontPixelSize * 1.5 + arrowSide);
    m_wifiStateSource = QT_TRANSLATE_NOOP("CardNetwork", "Offline");
    setMultilingualText(m_wifiStateText, [this] { return translated(m_wifiStateSource); });

    // The network's name fills the room between the label and the state, shortened when it is long. On a
    // narrow screen there is no such room: the name goes under the label.
    m_wifiSsidText = new QQuickText(button);
    m_wifiSsidText->setTextFormat(QQuickText::PlainText);
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

/// A "Disable Network" switch of a wired or Wi-Fi adapter was pressed.
void CardNetwork::setAdapterDisabled(NIC nic, bool disable)
{
    if (!isAddressAdapter(nic))
        return;
    Panel::instance().enableNIC(nic, !disable, true);
    if (!disable && !isStatic_FromSwitch(nic)) {
        // A DHCP adapter that comes back asks for an address a second later, unless the user has changed
        // the switches in the meantime.
        QTimer::singleShot(DhcpAfterEnableMs, this, [this, nic] {
            if (isEnable_FromSwitch(nic) && !isStatic_FromSwitch(nic))
                setStatic(nic, false);
        });
    }
    if (nic == HMI::SystemSet::NIC_WIFI) {
        Q_EMIT wifiEnableChanged(!disable);
        if (disable)
            stopWifiTimer();
        else if (m_currentNIC == nic)
            startWifiTimer();
        updateWifiStatus();
    }
    if (BeepSwitch *staticIp = m_staticSwitches.value(nic))
        staticIp->onChangeEnabled(isEnable_FromSwitch(nic));
    Q_EMIT netDisabledChanged();
    reloadDnsCard();
}

/// The switch of the 4G modem or of the VPN was pressed.
void CardNetwork::setInterfaceOn(NIC nic, bool on)
{
    HMI::SystemSet &panel = Panel::instance();
    if (nic == HMI::SystemSet::NIC_4G) {
        setup4GTimer(on);
        panel.enableNIC(nic, on, true);
    } else {
        if (m_serverComboBox) {
            m_serverComboBox->setEnabled(!on);
            m_serverComboBox->setOpacity(on ? 0.5 : 1.0);
        }
        if (on) {
            updateVPNStatus();
            panel.enableNIC(nic, true, true);
        } else {
            panel.resetVPNIp(panel.getVPNServer());
            updateVPNStatus();
            panel.enableNIC(nic, false, true);
        }
    }
    Q_EMIT netDisabledChanged();
    reloadDnsCard();
}

/// Asks the system for DHCP (@p on false) or the static configuration of a wired or Wi-Fi adapter.
void CardNetwork::setStatic(NIC nic, bool on)
{
    if (!isAddressAdapter(nic))
        return;
    Panel::instance().setDHCP(
        nic, !on,
        onGuiThread(this, [nic](CardNetwork *card,
                                HMI::SystemSet::DHCP_STATE state) { card->onEnableDHCP(nic, state); }),
        true);
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
        showLiveAddresses(nic);
    } else if (!panel.isDhcpOn(nic)) {
        for (int field = 0; field < AddressFieldCount; ++field) {
            const AddressGetter stored = AddressRows[field].stored;
            showAddress(m_addressInputs[field].value(nic), (panel.*stored)(nic));
        }
    }
}

void CardNetwork::clearWifiAddresses()
{
    // A static configuration stays on show: it is the adapter's own, not the network's.
    if (isStatic_FromSwitch(HMI::SystemSet::NIC_WIFI))
        return;
    for (const auto &inputs : m_addressInputs) {
        CIpInput *input = inputs.value(HMI::SystemSet::NIC_WIFI);
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

void CardNetwork::updateAddressEnable(AddressField field, NIC nic)
{
    if (CIpInput *input = m_addressInputs[field].value(nic))
        input->setEnabled(allow_ModifyIPInfo(nic));
}

void CardNetwork::updateEnable_IP(NIC nic)
{
    updateAddressEnable(IpAddress, nic);
}

void CardNetwork::updateEnable_SubnetMask(NIC nic)
{
    updateAddressEnable(SubnetMask, nic);
}

void CardNetwork::updateEnable_Gateway(NIC nic)
{
    updateAddressEnable(DefaultGateway, nic);
}

void CardNetwork::updateAddressEnables(NIC nic)
{
    for (int field = 0; field < AddressFieldCount; ++field)
        updateAddressEnable(AddressField(field), nic);
}

void CardNetwork::updateAllAddressEnables()
{
    for (NIC nic : {HMI::SystemSet::NIC_LAN0, HMI::SystemSet::NIC_LAN1, HMI::SystemSet::NIC_WIFI})
        updateAddressEnables(nic);
}

void CardNetwork::showLiveAddress(AddressField field, NIC nic)
{
    HMI::SystemSet &panel = Panel::instance();
    if (panel.isNicEnabled(nic) && isEnable_FromSwitch(nic)) {
        const AddressGetter live = AddressRows[field].live;
        showAddress(m_addressInputs[field].value(nic), (panel.*live)(nic));
    }
}

void CardNetwork::showLiveAddresses(NIC nic)
{
    for (int field = 0; field < AddressFieldCount; ++field)
        showLiveAddress(AddressField(field), nic);
}

void CardNetwork::updateDisplay_IP(NIC nic)
{
    showLiveAddress(IpAddress, nic);
}

void CardNetwork::updateDisplay_SubnetMask(NIC nic)
{
    showLiveAddress(SubnetMask, nic);
}

void CardNetwork::updateDisplay_Gateway(NIC nic)
{
    showLiveAddress(DefaultGateway, nic);
}

void CardNetwork::updateNetInfoDisplay(HMI::SystemSet::NIC nic)
{
    if (!Panel::instance().isNicEnabled(nic))
        return;
    showLiveAddresses(nic);
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
    resumeStatusTimer();
}

void CardNetwork::resumeStatusTimer()
{
    const HMI::SystemSet &panel = Panel::instance();
    if (m_currentNIC == HMI::SystemSet::NIC_4G)
        setup4GTimer(panel.isNicEnabled(HMI::SystemSet::NIC_4G));
    else if (m_currentNIC == HMI::SystemSet::NIC_VPN)
        startPoll(m_vpnTimer, &CardNetwork::updateVPNStatus, VpnPollMs);
    else if (m_currentNIC == HMI::SystemSet::NIC_WIFI)
        updateWifiTimer();
}

void CardNetwork::stopStatusTimers()
{
    for (QTimer *timer : {m_4GTimer, m_vpnTimer, m_wifiTimer}) {
        if (timer)
            timer->stop();
    }
}

void CardNetwork::startPoll(QTimer *&timer, void (CardNetwork::*update)(), int intervalMs)
{
    const AppRootItem *root = AppRootItem::instance();
    if (root && !root->isVisible())
        return;
    pollTimer(timer, update)->start(intervalMs);
}

// Status timers

/// @p timer, made on first use to call @p update at every timeout.
QTimer *CardNetwork::pollTimer(QTimer *&timer, void (CardNetwork::*update)())
{
    if (!timer) {
        timer = new QTimer(this);
        connect(timer, &QTimer::timeout, this, update);
    }
    return timer;
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
    clear4GDisplay();
    startPoll(m_4GTimer, &CardNetwork::update4GSignal, ModemPollMs);
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
    if (!m_wifiTimer || !m_wifiTimer->isActive())
        startPoll(m_wifiTimer, &CardNetwork::updateWifiStatus, WifiPollMs);
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

void CardNetwork::showWifiOffline()
{
    setStateText(m_wifiStateText, m_wifiStateSource, QT_TRANSLATE_NOOP("CardNetwork", "Offline"), MutedColor);
    m_wifiSsidUnknown = false;
    m_wifiSsidText->setText(QString());
}

void CardNetwork::updateWifiStatus()
{
    // While the Wi-Fi card connects, the summary keeps what it showed.
    if (!m_wifiButton || m_wifiConnecting)
        return;
    if (!Panel::instance().isNicEnabled(HMI::SystemSet::NIC_WIFI)) {
        showWifiOffline();
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
        if (auto *wifiCard =
                root ? qobject_cast<CardWifi *>(root->getCardItem(AppRootItem::Card_Wifi)) : nullptr)
            wifiCard->updateSignalStrength();
    } else {
        showWifiOffline();
        if (m_wifiWasConnected)
            clearWifiAddresses();
    }
    m_wifiWasConnected = connected;
    Q_EMIT wifiStatusChanged(connected, ssid);
}

} // namespace QSP
