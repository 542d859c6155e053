#pragma once

#include "systemset/SystemSet.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

#include <map>
#include <utility>

namespace HMI {

/// What NetworkManager last said about the board's network: its devices, their IPv4 settings and the access
/// points the Wi-Fi device sees. The screen's adapters are found in it (LAN0 and LAN1 are the first two
/// Ethernet devices by interface name, WIFI the first Wi-Fi device, unless QSP_ADAPTERS names them).
struct NetworkState
{
    struct Ip4
    {
        IP address = 0;
        IP mask = 0;
        IP gateway = 0;
        std::pair<IP, IP> dns{0, 0};
    };

    struct Device
    {
        QString interface;
        unsigned type = 0;  ///< NetworkManager's DeviceType: 1 Ethernet, 2 Wi-Fi
        unsigned state = 0; ///< NetworkManager's DeviceState: 100 activated
        bool autoconnect = false;
        MAC mac{};
        QString ip4Path; ///< "/" or empty: none
        Ip4 ip4;
        QString activeAccessPoint; ///< Wi-Fi: "/" or empty: none
        QString activeConnection;  ///< "/" or empty: none
        QStringList available;     ///< the saved profiles that fit the device
        QString profile;           ///< the profile in use or to use, empty when none
        bool dhcp = true;          ///< the profile's ipv4.method is "auto"
        Ip4 stored;                ///< the profile's static IPv4 settings
    };

    struct AccessPoint
    {
        QByteArray ssid; ///< raw bytes
        int strength = 0;
        unsigned flags = 0;
        unsigned wpaFlags = 0;
        unsigned rsnFlags = 0;
        bool secured() const { return (flags & 1u) || wpaFlags || rsnFlags; }
    };

    std::map<QString, Device> devices;           ///< by object path
    std::map<QString, AccessPoint> accessPoints; ///< by object path
    bool wirelessEnabled = true;
    bool wwanEnabled = true;
    QString primaryDevice; ///< the device of NetworkManager's primary connection
    struct Modem
    {
        QString path; ///< empty: no modem
        int signal = 0;
        int state = 0; ///< ModemManager's MMModemState
    } modem;
    /// The two VPN servers' saved profiles (by the ids in QSP_VPN_PROFILES) and their tunnels.
    struct Vpn
    {
        QString id;      ///< the profile's connection.id
        QString profile; ///< its object path, empty when there is none
        QString active;  ///< its active connection, empty when it is down
        int state = 0;   ///< as the screen counts: 5 up, 1 on the way, 3 failed, 0 down
    };
    Vpn vpns[2];
    bool anyVpnProfile = false;                 ///< a saved VPN or WireGuard profile exists
    std::map<QString, QByteArray> wifiProfiles; ///< saved Wi-Fi profiles: their network names, by object path
    QHash<QString, QString> named;              ///< QSP_ADAPTERS: adapter name ("LAN0") to interface name

    /// The object path of the device that is @p nic, empty when there is none.
    QString pathOf(int nic) const;
    const Device *device(int nic) const;

    /// "LAN0=eth0,LAN1=eth1,WIFI=wlan0" as a map.
    static QHash<QString, QString> parseNames(const QString &text);
    /// IPv4 text ("192.168.1.5") in the screen's numeric order; 0 when it is none.
    static IP ipOf(const QString &text);
    /// "78:DD:08:D2:3D:43" as bytes; zeros when it is none.
    static MAC macOf(const QString &text);
    static IP maskOf(int prefix);
};

} // namespace HMI
