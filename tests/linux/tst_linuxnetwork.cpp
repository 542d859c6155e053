// The Linux backend's network side against python3-dbusmock's NetworkManager on a private bus: adapters and
// their addresses, the Wi-Fi scan and the outcomes of a connection, as NetworkManager reports them.

#include "SystemSet.h"

#include "DbusMock.h"

#include <QTest>

#include <atomic>
#include <memory>
#include <mutex>

namespace {

const QString nm = QStringLiteral("org.freedesktop.NetworkManager");
const QString devices = QStringLiteral("/org/freedesktop/NetworkManager/Devices/");

QString ipText(HMI::IP ip)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(ip >> 24)
        .arg((ip >> 16) & 255)
        .arg((ip >> 8) & 255)
        .arg(ip & 255);
}

QString ssidText(const HMI::SSID &ssid)
{
    return QString::fromLatin1(QByteArray(ssid.data(), int(qstrnlen(ssid.data(), 32))).toHex());
}

} // namespace

class tst_LinuxNetwork : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void adaptersAndAddresses();
    void scan();
    void connectOutcome_data();
    void connectOutcome();

private:
    bool emitDeviceState(unsigned state, unsigned reason)
    {
        return m_mock.python(
            QStringLiteral("mock('%1', '%2wlan0dev').EmitSignal('org.freedesktop.NetworkManager.Device', "
                           "'StateChanged', 'uuu', [dbus.UInt32(%3), dbus.UInt32(50), dbus.UInt32(%4)])")
                .arg(nm, devices)
                .arg(state)
                .arg(reason));
    }

    DbusMock m_mock;
    std::unique_ptr<HMI::SystemSet> m_system;
};

void tst_LinuxNetwork::initTestCase()
{
    QString why;
    if (!m_mock.start(&why))
        QSKIP(qPrintable(QStringLiteral("no private D-Bus here, the Linux backend is not tested: ") + why));
    QVERIFY(m_mock.startTemplate(QStringLiteral("networkmanager"), nm));
    // eth1 comes first on the bus; LAN0 is still eth0, the first by name. The Wi-Fi device is disconnected.
    // The template's devices have no IPv4 configuration: eth0 gets one.
    QVERIFY(m_mock.python(QStringLiteral(
        "m = mock('org.freedesktop.NetworkManager', '/org/freedesktop/NetworkManager')\n"
        "m.AddEthernetDevice('eth1dev', 'eth1', 100)\n"
        "m.AddEthernetDevice('eth0dev', 'eth0', 100)\n"
        "m.AddWiFiDevice('wlan0dev', 'wlan0', 30)\n"
        "m.SetProperty('/org/freedesktop/NetworkManager/Devices/eth0dev', "
        "'org.freedesktop.NetworkManager.Device.Wired', 'HwAddress', dbus.String('02:00:00:00:00:0A', "
        "variant_level=1))\n"
        "m.AddObject('/org/freedesktop/NetworkManager/IP4Config/1', "
        "'org.freedesktop.NetworkManager.IP4Config', {\n"
        "  'AddressData': dbus.Array([{'address': '192.168.10.23', 'prefix': dbus.UInt32(24)}], "
        "signature='a{sv}'),\n"
        "  'Gateway': '192.168.10.1',\n"
        "  'NameserverData': dbus.Array([{'address': '1.1.1.1'}, {'address': '9.9.9.9'}], "
        "signature='a{sv}')}, [])\n"
        "mock('org.freedesktop.NetworkManager', "
        "'/org/freedesktop/NetworkManager/Devices/eth0dev').AddProperty("
        "'org.freedesktop.NetworkManager.Device', 'Ip4Config', "
        "dbus.ObjectPath('/org/freedesktop/NetworkManager/IP4Config/1'))\n"
        "w = '/org/freedesktop/NetworkManager/Devices/wlan0dev'\n"
        "m.AddAccessPoint(w, 'ap1', 'Office', '00:11:22:33:44:01', 2, 2412, 54000, 40, 0x100)\n"
        "m.AddAccessPoint(w, 'ap2', 'Office', '00:11:22:33:44:02', 2, 2412, 54000, 70, 0x100)\n"
        "m.AddAccessPoint(w, 'ap3', 'Guest', '00:11:22:33:44:03', 2, 2412, 54000, 55, 0)\n"
        "m.AddAccessPoint(w, 'ap4', 'x', '00:11:22:33:44:04', 2, 2412, 54000, 30, 0x100)\n"
        "mock('org.freedesktop.NetworkManager', w).AddProperty("
        "'org.freedesktop.NetworkManager.Device.Wireless', 'LastScan', dbus.Int64(-1))\n"
        "m.SetProperty('/org/freedesktop/NetworkManager/AccessPoint/ap4', "
        "'org.freedesktop.NetworkManager.AccessPoint', 'Ssid', dbus.ByteArray(b'caf\\xe9', "
        "variant_level=1))\n")));
    // The template's connections activate at once: here the device reports the outcome, as each row says.
    QVERIFY(m_mock.python(QStringLiteral(
        "mock('org.freedesktop.NetworkManager', '/org/freedesktop/NetworkManager').AddMethod("
        "'org.freedesktop.NetworkManager', 'AddAndActivateConnection', 'a{sa{sv}}oo', 'oo', "
        "'ret = (dbus.ObjectPath(\"/org/freedesktop/NetworkManager/Settings/1\"), "
        "dbus.ObjectPath(\"/org/freedesktop/NetworkManager/ActiveConnection/1\"))')")));
    qputenv("QSP_PANEL", "linux");
    m_system = std::make_unique<HMI::SystemSet>();
}

void tst_LinuxNetwork::adaptersAndAddresses()
{
    using S = HMI::SystemSet;
    QTRY_COMPARE(m_system->getAllNIC(), S::NIC_LAN0 | S::NIC_LAN1 | S::NIC_WIFI);
    QTRY_COMPARE(ipText(m_system->getIp(S::NIC_LAN0)), QStringLiteral("192.168.10.23"));
    QCOMPARE(ipText(m_system->getSubnetMask(S::NIC_LAN0)), QStringLiteral("255.255.255.0"));
    QCOMPARE(ipText(m_system->getGateway(S::NIC_LAN0)), QStringLiteral("192.168.10.1"));
    QCOMPARE(ipText(m_system->getDns(S::NIC_LAN0).first) + QLatin1Char(' ') +
                 ipText(m_system->getDns(S::NIC_LAN0).second),
             QStringLiteral("1.1.1.1 9.9.9.9"));
    QCOMPARE(m_system->getMac(S::NIC_LAN0), (HMI::MAC{0x02, 0, 0, 0, 0, 0x0A}));
    QCOMPARE(m_system->getMac(S::NIC_LAN1), (HMI::MAC{0x78, 0xDD, 0x08, 0xD2, 0x3D, 0x43}));
    // eth1 has no IPv4 configuration; the Wi-Fi device is not connected.
    QCOMPARE(m_system->getIp(S::NIC_LAN1), HMI::IP(0));
    QVERIFY(!m_system->isWifiConnected());
    QCOMPARE(m_system->currentWifiSignalStrength(), 0);
}

void tst_LinuxNetwork::scan()
{
    m_mock.forget(nm);
    std::mutex mutex;
    std::vector<HMI::SystemSet::SsidInfo> found;
    std::atomic<int> calls{0};
    m_system->scanWifi([&](std::unique_ptr<std::vector<HMI::SystemSet::SsidInfo>> list) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (list)
            found = *list;
        ++calls;
    });
    QTRY_VERIFY(m_mock.calls(nm).contains(QStringLiteral("RequestScan {}")));
    QTest::qWait(100);
    QCOMPARE(calls.load(), 0); // the scan has not ended yet
    QVERIFY(m_mock.python(
        QStringLiteral("mock('%1', '/org/freedesktop/NetworkManager').SetProperty('%2wlan0dev', "
                       "'org.freedesktop.NetworkManager.Device.Wireless', 'LastScan', "
                       "dbus.Int64(123456, variant_level=1))")
            .arg(nm, devices)));
    QTRY_COMPARE(calls.load(), 1);
    // One record per name, the strongest; the name's bytes as they are.
    QStringList rows;
    for (const auto &info : found)
        rows << QStringLiteral("%1 %2 %3").arg(ssidText(info.ssid)).arg(info.signal).arg(info.encrypted);
    rows.sort();
    QCOMPARE(rows, (QStringList{QStringLiteral("4775657374 55 0"), QStringLiteral("4f6666696365 70 1"),
                                QStringLiteral("636166e9 30 1")}));
}

void tst_LinuxNetwork::connectOutcome_data()
{
    QTest::addColumn<unsigned>("state");
    QTest::addColumn<unsigned>("reason");
    QTest::addColumn<int>("outcome");
    QTest::newRow("wrong password") << 120u << 7u << int(HMI::SystemSet::WIFI_WRONG_PASSWORD);
    QTest::newRow("secrets refused by the supplicant")
        << 120u << 8u << int(HMI::SystemSet::WIFI_WRONG_PASSWORD);
    QTest::newRow("network gone") << 120u << 53u << int(HMI::SystemSet::WIFI_OFFLINE);
    QTest::newRow("connected") << 100u << 0u << int(HMI::SystemSet::WIFI_CONNECTED);
}

void tst_LinuxNetwork::connectOutcome()
{
    QFETCH(unsigned, state);
    QFETCH(unsigned, reason);
    QFETCH(int, outcome);
    m_mock.forget(nm);
    // Kept by the callback itself: a failed row must not leave it writing into a finished function.
    struct Outcomes
    {
        std::mutex mutex;
        QList<int> seen;
    };
    auto outcomes = std::make_shared<Outcomes>();
    HMI::SSID office{};
    std::copy_n("Office", 6, office.begin());
    m_system->connectWifi(office, "s3cret", [outcomes](HMI::SystemSet::StateWifi s) {
        const std::lock_guard<std::mutex> lock(outcomes->mutex);
        outcomes->seen << s;
    });
    const auto seen = [outcomes] {
        const std::lock_guard<std::mutex> lock(outcomes->mutex);
        return outcomes->seen;
    };
    // The profile asked for: the name's bytes, WPA with the password, on the strongest access point.
    QTRY_VERIFY(!m_mock.calls(nm).filter(QStringLiteral("AddAndActivateConnection")).isEmpty());
    const QString call = m_mock.calls(nm).filter(QStringLiteral("AddAndActivateConnection")).constFirst();
    for (const char *part :
         {R"("ssid": [79, 102, 102, 105, 99, 101])", R"("key-mgmt": "wpa-psk", "psk": "s3cret")",
          R"("/org/freedesktop/NetworkManager/Devices/wlan0dev" )"
          R"("/org/freedesktop/NetworkManager/AccessPoint/ap2")"})
        QVERIFY2(call.contains(QLatin1String(part)), qPrintable(call));
    QVERIFY(emitDeviceState(state, reason));
    QTRY_COMPARE(seen(), (QList<int>{HMI::SystemSet::WIFI_CONNECTING, outcome}));
}

QTEST_GUILESS_MAIN(tst_LinuxNetwork)
#include "tst_linuxnetwork.moc"
