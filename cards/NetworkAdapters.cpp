#include "cards/NetworkAdapters.h"

#include "cards/CardHelpers.h"
#include "cards/CardNetwork.h"
#include "controls/BeepSwitch.h"
#include "controls/CIpInput.h"
#include "controls/CMacInput.h"
#include "shell/OnGuiThread.h"
#include "systemset/MeyerSingleton.h"

#include <QTimer>

#include <iterator>

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;
using NIC = HMI::SystemSet::NIC;
using AddressSetter = void (HMI::SystemSet::*)(HMI::SystemSet::NIC, HMI::IP, bool);
using AddressGetter = HMI::IP (HMI::SystemSet::*)(HMI::SystemSet::NIC) const;

constexpr int DhcpAfterEnableMs = 1000;

/// The address rows of an adapter, in the order of NetworkAdapters::AddressField.
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

} // namespace

NetworkAdapters::NetworkAdapters(CardNetwork *card)
    : QObject(card)
    , m_card(card)
{}

bool NetworkAdapters::handles(NIC nic)
{
    return nic == HMI::SystemSet::NIC_LAN0 || nic == HMI::SystemSet::NIC_LAN1 ||
           nic == HMI::SystemSet::NIC_WIFI;
}

QQuickItem *NetworkAdapters::addDisableRow(NIC nic)
{
    QQuickItem *row = m_card->addColumnItemRoot(0.78);
    m_card->addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Disable Network"));
    BeepSwitch *disable = m_card->addColumnItemSwitch(row, !Panel::instance().isNicEnabled(nic));
    m_disableSwitches.insert(nic, disable);
    connect(disable, &QQuickAbstractButton::clicked, this,
            [this, nic, disable] { Q_EMIT disableSwitched(nic, disable->on()); });
    return row;
}

QList<QQuickItem *> NetworkAdapters::addAddressRows(NIC nic)
{
    HMI::SystemSet &panel = Panel::instance();
    QList<QQuickItem *> rows;

    QQuickItem *row = m_card->addColumnItemRoot(0.78);
    m_card->addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Static IP"));
    BeepSwitch *staticIp = m_card->addColumnItemSwitch(row, !panel.isDhcpOn(nic));
    m_staticSwitches.insert(nic, staticIp);
    staticIp->onChangeEnabled(isEnabledBySwitch(nic));
    connect(staticIp, &QQuickAbstractButton::clicked, this, [this, nic, staticIp] {
        setStatic(nic, staticIp->on());
        Q_EMIT staticSwitched();
    });
    rows << row;

    static_assert(std::size(AddressRows) == AddressFieldCount);
    CIpInput *firstInput = nullptr;
    for (int field = 0; field < AddressFieldCount; ++field) {
        const auto &address = AddressRows[field];
        row = m_card->addColumnItemRoot(0.75);
        m_card->addColumnItemText(row, address.label);
        CIpInput *input = m_card->addColumnItemIp(row, (panel.*address.stored)(nic));
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

    row = m_card->addColumnItemRoot(0.75);
    m_card->addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "MAC"));
    if (CMacInput *mac = m_card->addColumnItemMac(row, panel.getMac(nic))) {
        mac->setEnabled(false);
        if (firstInput) {
            // Same width as the address fields above it, so that the column lines up.
            mac->setWidth(firstInput->width());
            connect(firstInput, &QQuickItem::widthChanged, mac,
                    [mac, firstInput] { mac->setWidth(firstInput->width()); });
        }
    }
    rows << row;

    updateAddressEnables(nic);
    // A DHCP adapter asks for its address again each time its rows are first shown.
    if (panel.isDhcpOn(nic))
        setStatic(nic, false);
    showBuiltAddresses(nic);
    return rows;
}

bool NetworkAdapters::isEnabledBySwitch(NIC nic) const
{
    const BeepSwitch *disable = handles(nic) ? m_disableSwitches.value(nic) : nullptr;
    return disable && !disable->on();
}

bool NetworkAdapters::isStaticBySwitch(NIC nic) const
{
    const BeepSwitch *staticIp = handles(nic) ? m_staticSwitches.value(nic) : nullptr;
    return staticIp && staticIp->on();
}

bool NetworkAdapters::allowsEditing(NIC nic) const
{
    return isStaticBySwitch(nic) && isEnabledBySwitch(nic);
}

void NetworkAdapters::writeDisabled(NIC nic, bool disable)
{
    Panel::instance().enableNIC(nic, !disable, true);
    if (!disable && !isStaticBySwitch(nic)) {
        // A DHCP adapter that comes back asks for an address a second later, unless the user has changed
        // the switches in the meantime.
        QTimer::singleShot(DhcpAfterEnableMs, this, [this, nic] {
            if (isEnabledBySwitch(nic) && !isStaticBySwitch(nic))
                setStatic(nic, false);
        });
    }
}

void NetworkAdapters::followDisableSwitch(NIC nic)
{
    if (BeepSwitch *staticIp = m_staticSwitches.value(nic))
        staticIp->onChangeEnabled(isEnabledBySwitch(nic));
}

void NetworkAdapters::setStatic(NIC nic, bool on)
{
    if (!handles(nic))
        return;
    Panel::instance().setDHCP(
        nic, !on,
        onGuiThread(this, [nic](NetworkAdapters *adapters,
                                HMI::SystemSet::DHCP_STATE state) { adapters->onDhcpAnswer(nic, state); }),
        true);
}

void NetworkAdapters::onDhcpAnswer(NIC nic, HMI::SystemSet::DHCP_STATE state)
{
    // A failed request on Wi-Fi is worth a refresh only while a network is there.
    if (state != 0 || nic != HMI::SystemSet::NIC_WIFI || Panel::instance().isWifiConnected())
        m_card->updateNetInfoDisplay(nic);
}

void NetworkAdapters::showBuiltAddresses(NIC nic)
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

void NetworkAdapters::clearWifiAddresses()
{
    // A static configuration stays on show: it is the adapter's own, not the network's.
    if (isStaticBySwitch(HMI::SystemSet::NIC_WIFI))
        return;
    for (const auto &inputs : m_addressInputs) {
        CIpInput *input = inputs.value(HMI::SystemSet::NIC_WIFI);
        if (input && !input->editing())
            input->clear();
    }
}

void NetworkAdapters::updateAddressEnable(AddressField field, NIC nic)
{
    if (CIpInput *input = m_addressInputs[field].value(nic))
        input->setEnabled(allowsEditing(nic));
}

void NetworkAdapters::updateAddressEnables(NIC nic)
{
    for (int field = 0; field < AddressFieldCount; ++field)
        updateAddressEnable(AddressField(field), nic);
}

void NetworkAdapters::updateAllAddressEnables()
{
    for (NIC nic : {HMI::SystemSet::NIC_LAN0, HMI::SystemSet::NIC_LAN1, HMI::SystemSet::NIC_WIFI})
        updateAddressEnables(nic);
}

void NetworkAdapters::showLiveAddress(AddressField field, NIC nic)
{
    HMI::SystemSet &panel = Panel::instance();
    if (panel.isNicEnabled(nic) && isEnabledBySwitch(nic)) {
        const AddressGetter live = AddressRows[field].live;
        showAddress(m_addressInputs[field].value(nic), (panel.*live)(nic));
    }
}

void NetworkAdapters::showLiveAddresses(NIC nic)
{
    for (int field = 0; field < AddressFieldCount; ++field)
        showLiveAddress(AddressField(field), nic);
}

bool NetworkAdapters::syncDisableSwitch(NIC nic)
{
    BeepSwitch *disable = m_disableSwitches.value(nic);
    return disable && CardNetwork::showSwitch(disable, !Panel::instance().isNicEnabled(nic));
}

bool NetworkAdapters::syncStaticSwitch(NIC nic)
{
    BeepSwitch *staticIp = m_staticSwitches.value(nic);
    return staticIp && CardNetwork::showSwitch(staticIp, !Panel::instance().isDhcpOn(nic));
}

void NetworkAdapters::reload(NIC nic)
{
    HMI::SystemSet &panel = Panel::instance();
    if (BeepSwitch *staticIp = m_staticSwitches.value(nic)) {
        staticIp->setOn(!panel.isDhcpOn(nic));
        staticIp->onChangeEnabled(isEnabledBySwitch(nic));
    }
    updateAddressEnables(nic);
    if (panel.isDhcpOn(nic))
        setStatic(nic, false);
    showBuiltAddresses(nic);
}

} // namespace QSP
