#pragma once

#include "systemset/SystemSet.h"

#include <QHash>
#include <QList>
#include <QObject>

class QQuickItem;

namespace QSP {

class BeepSwitch;
class CIpInput;
class CardNetwork;

/// The wired and Wi-Fi adapters of the Network card: per adapter its "Disable Network" and "Static IP"
/// switches, its three address fields and its MAC. The switches are the truth for what may be edited, so
/// that the screen follows a touch at once; every address shown is read back from the system.
class NetworkAdapters : public QObject
{
    Q_OBJECT

public:
    using NIC = HMI::SystemSet::NIC;
    /// The address fields of an adapter, in the order of their rows.
    enum AddressField { IpAddress, SubnetMask, DefaultGateway, AddressFieldCount };

    /// The adapters of @p card, a child of it; the rows go into the card's column.
    explicit NetworkAdapters(CardNetwork *card);

    /// Whether @p nic is one of these adapters: LAN0, LAN1 or Wi-Fi.
    static bool handles(NIC nic);

    /// The adapter's first row: "Disable Network" and its switch.
    QQuickItem *addDisableRow(NIC nic);
    /// The rows below: "Static IP", the three addresses and the MAC; then the addresses are shown (of a DHCP
    /// adapter after asking for them again).
    QList<QQuickItem *> addAddressRows(NIC nic);
    /// Whether the adapter's rows have been made.
    bool hasRows(NIC nic) const { return m_disableSwitches.contains(nic); }

    /// Whether the "Disable Network" switch exists and is off.
    bool isEnabledBySwitch(NIC nic) const;
    /// Whether the "Static IP" switch exists and is on.
    bool isStaticBySwitch(NIC nic) const;
    /// Whether the addresses may be typed in: switched on and static.
    bool allowsEditing(NIC nic) const;

    /// Writes the adapter's on/off state as the "Disable Network" switch shows it; a DHCP adapter that comes
    /// back asks for an address a second later.
    void writeDisabled(NIC nic, bool disable);
    /// Enables the "Static IP" switch while the adapter is switched on.
    void followDisableSwitch(NIC nic);
    /// Asks the system for DHCP (@p on false) or the static configuration; the addresses follow the answer.
    void setStatic(NIC nic, bool on);

    void updateAddressEnable(AddressField field, NIC nic);
    void updateAddressEnables(NIC nic);
    void updateAllAddressEnables();
    /// Shows the address in use, unless the field is being edited or the adapter is off.
    void showLiveAddress(AddressField field, NIC nic);
    void showLiveAddresses(NIC nic);
    /// Empties the Wi-Fi addresses obtained from a network (not a static configuration).
    void clearWifiAddresses();

    /// Sets the "Disable Network" switch from the system; whether it moved.
    bool syncDisableSwitch(NIC nic);
    /// Sets the "Static IP" switch from the system (on = not DHCP); whether it moved.
    bool syncStaticSwitch(NIC nic);
    /// Follows what may have changed elsewhere while the screen was closed: the "Static IP" switch, what may
    /// be edited and the addresses (of a DHCP adapter after asking for them again).
    void reload(NIC nic);

Q_SIGNALS:
    /// The user pressed the adapter's "Disable Network" switch; nothing is written yet.
    void disableSwitched(HMI::SystemSet::NIC nic, bool disable);
    /// The user pressed a "Static IP" switch, and the system was asked accordingly.
    void staticSwitched();

private:
    void onDhcpAnswer(NIC nic, HMI::SystemSet::DHCP_STATE state);
    /// The addresses as the rows are first shown, or shown again on opening: the live ones of a DHCP adapter
    /// (of Wi-Fi: while connected), else the stored static configuration.
    void showBuiltAddresses(NIC nic);

    CardNetwork *m_card = nullptr;
    QHash<int, BeepSwitch *> m_disableSwitches; ///< on = the adapter is off
    QHash<int, BeepSwitch *> m_staticSwitches;
    QHash<int, CIpInput *> m_addressInputs[AddressFieldCount]; ///< by AddressField, then by adapter
};

} // namespace QSP
