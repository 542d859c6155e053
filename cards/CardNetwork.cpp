#include "cards/CardNetwork.h"

#include "cards/CardDNS.h"
#include "cards/CardHelpers.h"
#include "cards/Modem4G.h"
#include "cards/NetworkAdapters.h"
#include "cards/VpnStatus.h"
#include "cards/WifiSummary.h"
#include "controls/BeepButton.h"
#include "controls/BeepSwitch.h"
#include "controls/CIpInput.h"
#include "controls/CMacInput.h"
#include "controls/ComboBox.h"
#include "shell/AppRootItem.h"
#include "shell/ComponentCache.h"
#include "shell/DocumentPart.h"
#include "shell/GlobalInfo.h"
#include "shell/IconProvider.h"
#include "shell/Palette.h"
#include "systemset/MeyerSingleton.h"

#include <QColor>
#include <QCoreApplication>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;
using NIC = HMI::SystemSet::NIC;

constexpr const char *Context = "CardNetwork";

const QColor NormalColor(Palette::Text);

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

/// Height of the address fields in rows: a little lower on narrow screens, where the fields would
/// otherwise reach the longest label.
qreal addressHeightFactor()
{
    return GlobalInfo::instance().screenSize().width() < 600 ? 0.5 : 0.56;
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

void CardNetwork::prepare(QQmlEngine *engine)
{
    if (engine)
        nicButtonComponent(engine);
    // The card's texts and its address fields (see addColumnItemIp()).
    if (AppRootItem *root = AppRootItem::instance()) {
        const int font = defaultFontPixelSize();
        root->preloadFonts({font, int(font * 0.9)});
    }
}

int CardNetwork::defaultFontPixelSize()
{
    return int(defaultRowHeight() * 0.323);
}

int CardNetwork::defaultRowHeight()
{
    const GlobalInfo &info = GlobalInfo::instance();
    if (!info.isScreenPortrait() && info.screenSize().width() > 0)
        return int(info.screenSize().width() * 0.060546875);
    return portraitRowHeight;
}

CardNetwork::CardNetwork(QQuickItem *parent)
    : BaseCard(parent)
    , m_adapters(new NetworkAdapters(this))
    , m_wifiSummary(new WifiSummary(this))
    , m_modem(new Modem4G(this))
    , m_vpn(new VpnStatus(this))
{
    qRegisterMetaType<HMI::SystemSet::NIC>();
    m_rowHeight = defaultRowHeight();
    m_fontPixelSize = defaultFontPixelSize();

    connect(this, &CardNetwork::currentNICChanged, this, &CardNetwork::changeNIC);
    connect(this, &CardNetwork::netDisabledChanged, m_adapters, &NetworkAdapters::updateAllAddressEnables);
    connect(this, &CardNetwork::useStaticIpChanged, m_adapters, &NetworkAdapters::updateAllAddressEnables);
    // A reset disconnects Wi-Fi: the addresses it had obtained are gone.
    connect(this, &CardNetwork::wifiReset, this, [this] {
        m_adapters->clearWifiAddresses();
        m_wifiSummary->update();
    });
    connect(&GlobalInfo::instance(), &GlobalInfo::localeChanged, m_vpn, &VpnStatus::fillServerList);

    connect(m_adapters, &NetworkAdapters::disableSwitched, this, &CardNetwork::setAdapterDisabled);
    connect(m_adapters, &NetworkAdapters::staticSwitched, this, &CardNetwork::useStaticIpChanged);
    connect(m_wifiSummary, &WifiSummary::connectionLost, m_adapters, &NetworkAdapters::clearWifiAddresses);
    connect(m_wifiSummary, &WifiSummary::statusChanged, this, &CardNetwork::wifiStatusChanged);
    connect(m_modem, &Modem4G::switched, this, &CardNetwork::onInterfaceSwitched);
    connect(m_vpn, &VpnStatus::switched, this, &CardNetwork::onInterfaceSwitched);
}

CardNetwork::~CardNetwork() = default;

QString CardNetwork::translated(const char *source)
{
    return QCoreApplication::translate(Context, source);
}

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
    m_adapters->updateAddressEnables(newNic);
    reloadDnsCard();

    if (oldNic == HMI::SystemSet::NIC_4G)
        m_modem->stopPoll();
    else if (oldNic == HMI::SystemSet::NIC_VPN)
        m_vpn->stopPoll();
    else if (oldNic == HMI::SystemSet::NIC_WIFI)
        m_wifiSummary->stopPoll();

    if (newNic == HMI::SystemSet::NIC_4G) {
        m_modem->setPolling(Panel::instance().isNicEnabled(HMI::SystemSet::NIC_4G));
    } else if (newNic == HMI::SystemSet::NIC_VPN) {
        m_vpn->startPoll();
        m_vpn->update();
    } else if (newNic == HMI::SystemSet::NIC_WIFI) {
        m_wifiSummary->startPoll();
        m_wifiSummary->update();
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
    if (NetworkAdapters::handles(nic)) {
        QList<QQuickItem *> made{m_adapters->addDisableRow(nic)};
        // Wi-Fi's summary sits under its switch, above the addresses.
        if (nic == HMI::SystemSet::NIC_WIFI)
            made << m_wifiSummary->addRow();
        made << m_adapters->addAddressRows(nic);
        m_rows.insert(nic, made);
    } else if (nic == HMI::SystemSet::NIC_4G) {
        m_rows.insert(nic, m_modem->addRows());
    } else if (nic == HMI::SystemSet::NIC_VPN) {
        m_rows.insert(nic, m_vpn->addRows());
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
    QQuickText *text = newPlainText(row);
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
    QQuickText *text = newPlainText(row);
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
    CIpInput *input = CIpInput::create(GlobalInfo::instance().qmlEngine(), row, int(m_fontPixelSize * 0.9),
                                       QSizeF(0, qRound(m_rowHeight * addressHeightFactor())));
    if (!input)
        return nullptr;
    input->setIp(dotted(ip));
    anchorRight(input, row, m_fontPixelSize);
    return input;
}

CMacInput *CardNetwork::addColumnItemMac(QQuickItem *row, const HMI::MAC &mac)
{
    CMacInput *input =
        CMacInput::create(GlobalInfo::instance().qmlEngine(), row, int(m_fontPixelSize * 0.9),
                          QSizeF(qRound(m_rowHeight * 3.9), qRound(m_rowHeight * addressHeightFactor())));
    if (!input)
        return nullptr;
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
    IconProvider::setSource(image, QUrl(source));
    anchorRight(image, row, m_fontPixelSize);
    return image;
}

QQuickItem *CardNetwork::addOnOffRow(const char *label, bool on, BeepSwitch *&onOff)
{
    QQuickItem *row = addColumnItemRoot(0.78);
    addColumnItemText(row, label);
    onOff = addColumnItemSwitch(row, on);
    return row;
}

QQuickItem *CardNetwork::addStateRow(QQuickText *&text, const char *const *source)
{
    QQuickItem *row = addColumnItemRoot(32.0 / 31.0);
    addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Connection Status"));
    text = addColumnItemTextR(row);
    setMultilingualText(text, [source] { return translated(*source); });
    return row;
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

bool CardNetwork::showSwitch(BeepSwitch *onOff, bool on)
{
    if (onOff->on() == on)
        return false;
    onOff->setOn(on);
    return true;
}

// What the switches change

void CardNetwork::setAdapterDisabled(NIC nic, bool disable)
{
    m_adapters->writeDisabled(nic, disable);
    if (nic == HMI::SystemSet::NIC_WIFI) {
        Q_EMIT wifiEnableChanged(!disable);
        if (disable)
            m_wifiSummary->stopPoll();
        else if (m_currentNIC == nic)
            m_wifiSummary->startPoll();
        m_wifiSummary->update();
    }
    m_adapters->followDisableSwitch(nic);
    Q_EMIT netDisabledChanged();
    reloadDnsCard();
}

void CardNetwork::onInterfaceSwitched()
{
    Q_EMIT netDisabledChanged();
    reloadDnsCard();
}

// Switch rules

bool CardNetwork::isEnable_FromSwitch(HMI::SystemSet::NIC nic) const
{
    return m_adapters->isEnabledBySwitch(nic);
}

bool CardNetwork::isStatic_FromSwitch(HMI::SystemSet::NIC nic) const
{
    return m_adapters->isStaticBySwitch(nic);
}

bool CardNetwork::allow_ModifyIPInfo(HMI::SystemSet::NIC nic) const
{
    return m_adapters->allowsEditing(nic);
}

void CardNetwork::updateEnable_IP(NIC nic)
{
    m_adapters->updateAddressEnable(NetworkAdapters::IpAddress, nic);
}

void CardNetwork::updateEnable_SubnetMask(NIC nic)
{
    m_adapters->updateAddressEnable(NetworkAdapters::SubnetMask, nic);
}

void CardNetwork::updateEnable_Gateway(NIC nic)
{
    m_adapters->updateAddressEnable(NetworkAdapters::DefaultGateway, nic);
}

void CardNetwork::updateDisplay_IP(NIC nic)
{
    m_adapters->showLiveAddress(NetworkAdapters::IpAddress, nic);
}

void CardNetwork::updateDisplay_SubnetMask(NIC nic)
{
    m_adapters->showLiveAddress(NetworkAdapters::SubnetMask, nic);
}

void CardNetwork::updateDisplay_Gateway(NIC nic)
{
    m_adapters->showLiveAddress(NetworkAdapters::DefaultGateway, nic);
}

void CardNetwork::updateNetInfoDisplay(HMI::SystemSet::NIC nic)
{
    if (!Panel::instance().isNicEnabled(nic))
        return;
    m_adapters->showLiveAddresses(nic);
    reloadDnsCard();
}

bool CardNetwork::syncEnableSwitch(NIC nic)
{
    // The 4G and VPN switches name the interface; the others say "Disable Network".
    if (nic == HMI::SystemSet::NIC_4G)
        return m_modem->syncSwitch();
    if (nic == HMI::SystemSet::NIC_VPN)
        return m_vpn->syncSwitch();
    if (!m_adapters->syncDisableSwitch(nic))
        return false;
    if (nic == HMI::SystemSet::NIC_WIFI)
        Q_EMIT wifiEnableChanged(Panel::instance().isNicEnabled(nic));
    return true;
}

void CardNetwork::updateSwitchDisplay_EnableDisable(HMI::SystemSet::NIC nic)
{
    syncEnableSwitch(nic);
}

void CardNetwork::updateSwitchDisplay_static(HMI::SystemSet::NIC nic)
{
    if (m_adapters->syncStaticSwitch(nic))
        Q_EMIT useStaticIpChanged();
}

void CardNetwork::reloadDnsCard()
{
    if (auto *dns = screenCard<CardDNS>(AppRootItem::Card_DNS)) {
        dns->loadDnsAndShow();
        dns->updateEnable_DNS();
    }
}

// Opening and closing

/// The screen was opened again: follow what may have changed elsewhere meanwhile.
void CardNetwork::onOpened()
{
    HMI::SystemSet &panel = Panel::instance();
    bool onOffChanged = false;
    for (NIC nic : {HMI::SystemSet::NIC_LAN0, HMI::SystemSet::NIC_LAN1, HMI::SystemSet::NIC_WIFI}) {
        if (!m_adapters->hasRows(nic))
            continue;
        onOffChanged |= syncEnableSwitch(nic);
        m_adapters->reload(nic);
    }
    if (syncEnableSwitch(HMI::SystemSet::NIC_4G)) {
        onOffChanged = true;
        if (m_currentNIC == HMI::SystemSet::NIC_4G)
            m_modem->setPolling(panel.isNicEnabled(HMI::SystemSet::NIC_4G));
    }
    if (syncEnableSwitch(HMI::SystemSet::NIC_VPN))
        onOffChanged = true;
    m_vpn->reload();
    if (onOffChanged)
        Q_EMIT netDisabledChanged();
    m_wifiSummary->update();
    reloadDnsCard();
    resumeStatusTimer();
}

void CardNetwork::resumeStatusTimer()
{
    const HMI::SystemSet &panel = Panel::instance();
    if (m_currentNIC == HMI::SystemSet::NIC_4G)
        m_modem->setPolling(panel.isNicEnabled(HMI::SystemSet::NIC_4G));
    else if (m_currentNIC == HMI::SystemSet::NIC_VPN)
        m_vpn->startPoll();
    else if (m_currentNIC == HMI::SystemSet::NIC_WIFI)
        updateWifiTimer();
}

void CardNetwork::stopStatusTimers()
{
    m_modem->stopPoll();
    m_vpn->stopPoll();
    m_wifiSummary->stopPoll();
}

// Status of the 4G modem, the VPN and Wi-Fi

void CardNetwork::update4GSignal()
{
    m_modem->update();
}

void CardNetwork::updateVPNStatus()
{
    m_vpn->update();
}

void CardNetwork::setWifiConnecting(bool connecting)
{
    m_wifiSummary->setConnecting(connecting);
}

void CardNetwork::updateWifiTimer()
{
    m_wifiSummary->updatePoll();
}

void CardNetwork::updateWifiStatus()
{
    m_wifiSummary->update();
}

} // namespace QSP
