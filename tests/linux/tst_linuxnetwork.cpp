// The Linux backend's network side against python3-dbusmock's NetworkManager on a private bus: adapters and
// their addresses, the Wi-Fi scan and the outcomes of a connection, as NetworkManager reports them.

#include "SystemSet.h"

#include "DbusMock.h"

#include <QRegularExpression>
#include <QTest>

#include <atomic>
#include <memory>
#include <mutex>

namespace {

const QString nm = QStringLiteral("org.freedesktop.NetworkManager");

QString ipText(HMI::IP ip)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(ip >> 24)
        .arg((ip >> 16) & 255)
        .arg((ip >> 8) & 255)
        .arg(ip & 255);
}

HMI::IP ipOf(unsigned a, unsigned b, unsigned c, unsigned d)
{
    return (a << 24) | (b << 16) | (c << 8) | d;
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
    void modemAndDefaultAdapter();
    void staticAndDhcp();
    void enableDnsAndReset();
    void vpn();
    void connectOutcome_data();
    void connectOutcome();
    void savedProfileReused();

private:
    /// The device reports its new state and the reason, as NetworkManager does.
    bool emitDeviceState(unsigned state, unsigned reason, const QString &device = QStringLiteral("wlan0dev"))
    {
        return m_mock.python(QStringLiteral("device_state('%1', %2, %3)").arg(device).arg(state).arg(reason));
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
    QVERIFY(m_mock.startPlain(QStringLiteral("org.freedesktop.ModemManager1"),
                              QStringLiteral("/org/freedesktop/ModemManager1"),
                              QStringLiteral("org.freedesktop.ModemManager1"), true));
    // What the template lacks is added there (IPv4 configurations, LastScan, the primary connection), and its
    // connections do not activate at once: the device reports the outcome each row wants.
    QVERIFY(m_mock.python(QStringLiteral("network_board()")));
    qputenv("QSP_PANEL", "linux");
    qputenv("QSP_VPN_PROFILES", "asia,europe");
    m_system = std::make_unique<HMI::SystemSet>();
}

void tst_LinuxNetwork::adaptersAndAddresses()
{
    using S = HMI::SystemSet;
    QTRY_COMPARE(m_system->getAllNIC(), S::NIC_LAN0 | S::NIC_LAN1 | S::NIC_WIFI | S::NIC_4G);
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
    QVERIFY(m_mock.python(QStringLiteral("scan_ended(123456)")));
    QTRY_COMPARE(calls.load(), 1);
    // One record per name, the strongest; the name's bytes as they are.
    QStringList rows;
    for (const auto &info : found)
        rows << QStringLiteral("%1 %2 %3").arg(ssidText(info.ssid)).arg(info.signal).arg(info.encrypted);
    rows.sort();
    QCOMPARE(rows, (QStringList{QStringLiteral("4775657374 55 0"), QStringLiteral("4f6666696365 70 1"),
                                QStringLiteral("636166e9 30 1")}));
}

void tst_LinuxNetwork::modemAndDefaultAdapter()
{
    using S = HMI::SystemSet;
    QTRY_COMPARE(m_system->get4GSignal(S::NIC_4G), 63);
    QCOMPARE(m_system->get4GState(S::NIC_4G), 2); // connected
    QCOMPARE(m_system->get4GSignal(S::NIC_LAN0), 0);
    QVERIFY(m_mock.python(QStringLiteral("modem_state(-1)")));
    QTRY_COMPARE(m_system->get4GState(S::NIC_4G), 3); // failed: unknown

    // The primary connection runs over the Wi-Fi device: that is the default adapter.
    QCOMPARE(m_system->getDefaultNIC(), S::NIC_LAN0);
    QVERIFY(m_mock.python(QStringLiteral("primary_over('wlan0dev')")));
    QTRY_COMPARE(m_system->getDefaultNIC(), S::NIC_WIFI);
}

void tst_LinuxNetwork::staticAndDhcp()
{
    using S = HMI::SystemSet;
    // eth0 gets a saved profile with a static address.
    QVERIFY(m_mock.python(
        QStringLiteral("give_profile('eth0dev', wired_profile('Wired', 'manual', '10.0.0.5', '10.0.0.1'))")));
    QTRY_COMPARE(ipText(m_system->getIpFromEE(S::NIC_LAN0)), QStringLiteral("10.0.0.5"));
    QVERIFY(!m_system->isDhcpOn(S::NIC_LAN0));

    // Address, mask and gateway typed one after the other: each change starts from the one before.
    m_mock.forget(nm);
    m_system->setIp(S::NIC_LAN0, ipOf(10, 0, 0, 9), true);
    m_system->setSubnetMask(S::NIC_LAN0, ipOf(255, 255, 0, 0), true);
    m_system->setGateway(S::NIC_LAN0, ipOf(10, 0, 0, 254), true);
    QTRY_COMPARE(m_mock.calls(nm).filter(QStringLiteral("Reapply")).size(), 3);
    const QString last = m_mock.calls(nm).filter(QStringLiteral("Update {")).constLast();
    for (const char *part : {R"("address": "10.0.0.9")", R"("prefix": 16)", R"("gateway": "10.0.0.254")"})
        QVERIFY2(last.contains(QLatin1String(part)), qPrintable(last));
    QTRY_COMPARE(ipText(m_system->getGatewayFromEE(S::NIC_LAN0)), QStringLiteral("10.0.0.254"));
    QCOMPARE(ipText(m_system->getIpFromEE(S::NIC_LAN0)), QStringLiteral("10.0.0.9"));

    // DHCP on: saved, the profile activated again, and the device's state is the outcome.
    auto outcome = std::make_shared<std::atomic<int>>(-1);
    m_system->setDHCP(
        S::NIC_LAN0, true, [outcome](S::DHCP_STATE s) { *outcome = s; }, true);
    QTRY_VERIFY(!m_mock.calls(nm).filter(QStringLiteral("ActivateConnection")).isEmpty());
    QVERIFY(m_mock.calls(nm)
                .filter(QStringLiteral("Update {"))
                .constLast()
                .contains(QLatin1String(R"("method": "auto")")));
    QCOMPARE(outcome->load(), -1);
    QVERIFY(emitDeviceState(100u, 0u, QStringLiteral("eth0dev")));
    QTRY_COMPARE(outcome->load(), int(S::DHCP_OK));
    QTRY_VERIFY(m_system->isDhcpOn(S::NIC_LAN0));

    // Made the default: the lowest route metric in its profile.
    m_mock.forget(nm);
    m_system->setDefaultNIC(S::NIC_LAN0, true);
    QTRY_COMPARE(m_mock.calls(nm).filter(QStringLiteral("Reapply")).size(), 1);
    QVERIFY(m_mock.calls(nm)
                .filter(QStringLiteral("Update {"))
                .constLast()
                .contains(QLatin1String(R"("route-metric": 10)")));
}

void tst_LinuxNetwork::enableDnsAndReset()
{
    using S = HMI::SystemSet;
    QVERIFY(m_mock.python(QStringLiteral("saved_wifi_profile()")));
    m_mock.forget(nm);

    // The radio is NetworkManager's own switch; a wired adapter's is its profile's autoconnect, and it goes
    // down.
    QTRY_VERIFY(m_system->isNicEnabled(S::NIC_WIFI));
    m_system->enableNIC(S::NIC_WIFI, false, true);
    QTRY_VERIFY(!m_system->isNicEnabled(S::NIC_WIFI));
    m_system->enableNIC(S::NIC_LAN0, false, true);
    QTRY_VERIFY(m_mock.calls(nm).contains(QStringLiteral("Disconnect")));
    QVERIFY(m_mock.calls(nm)
                .filter(QStringLiteral("Update {"))
                .constLast()
                .contains(QLatin1String(R"("autoconnect": False)")));

    // DNS servers in the profile, in network byte order; 0.0.0.0 is none.
    m_system->setDns(S::NIC_LAN0, {ipOf(1, 2, 3, 4), 0});
    QTRY_COMPARE(m_mock.calls(nm).filter(QStringLiteral("Reapply")).size(), 1);
    QVERIFY2(m_mock.calls(nm)
                 .filter(QStringLiteral("Update {"))
                 .constLast()
                 .contains(QLatin1String(R"("dns": [67305985])")),
             qPrintable(m_mock.calls(nm).filter(QStringLiteral("Update {")).constLast()));

    // Reset: the saved Wi-Fi profile goes (the wired one stays), the device is disconnected, and a scan
    // follows.
    m_mock.forget(nm);
    auto lists = std::make_shared<std::atomic<int>>(0);
    m_system->resetWifi(
        [lists](std::unique_ptr<std::vector<S::SsidInfo>> list) { *lists += list ? 1 : 100; });
    QTRY_VERIFY(m_mock.calls(nm).contains(QStringLiteral("RequestScan {}")));
    QCOMPARE(m_mock.calls(nm).filter(QStringLiteral("Delete")).size(), 1);
    QCOMPARE(m_mock.calls(nm).filter(QStringLiteral("Disconnect")).size(), 1);
    QVERIFY(m_mock.python(QStringLiteral("scan_ended(223456)")));
    QTRY_COMPARE(lists->load(), 1);
}

void tst_LinuxNetwork::vpn()
{
    using S = HMI::SystemSet;
    QVERIFY(!(m_system->getAllNIC() & S::NIC_VPN));
    QVERIFY(m_mock.python(QStringLiteral("vpn_up(vpn_profiles()[0], 5)")));
    QTRY_VERIFY(m_system->getAllNIC() & S::NIC_VPN);
    QTRY_COMPARE(m_system->getVPNServerState(S::VPN_ASIA), 5);
    QCOMPARE(m_system->getVPNServerState(S::VPN_EUROPE), 0);
    QVERIFY(m_system->isNicEnabled(S::NIC_VPN));

    // A new address for the tunnel: down and up again.
    m_mock.forget(nm);
    m_system->resetVPNIp(S::VPN_ASIA);
    QTRY_VERIFY(!m_mock.calls(nm).filter(QStringLiteral("ActivateConnection")).isEmpty());
    // (The template's own activation may then fail on an object of its own: that is no call of the backend.)
    const QStringList calls =
        m_mock.calls(nm).filter(QRegularExpression(QStringLiteral("^(Dea|A)ctivateConnection \"")));
    QVERIFY2(calls.size() == 2 && calls.at(0).startsWith(QLatin1String("DeactivateConnection")),
             qPrintable(calls.join(u'|')));
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

void tst_LinuxNetwork::savedProfileReused()
{
    m_mock.forget(nm);
    QVERIFY(m_mock.python(QStringLiteral("saved_office()")));
    // The backend reads the saved profiles again (the test cannot see when it has taken the new one: it
    // leaves it ample time, also under a sanitizer).
    QTRY_VERIFY(m_mock.calls(nm).filter(QStringLiteral("GetSettings")).size() >= 4);
    QTest::qWait(500);
    m_mock.forget(nm);
    auto outcomes = std::make_shared<std::atomic<int>>(0);
    HMI::SSID office{};
    std::copy_n("Office", 6, office.begin());
    m_system->connectWifi(office, "n3w",
                          [outcomes](HMI::SystemSet::StateWifi s) { *outcomes = *outcomes * 10 + s; });
    // The saved profile gets the new password and is activated; no new profile is made.
    QTRY_VERIFY(!m_mock.calls(nm).filter(QStringLiteral("ActivateConnection")).isEmpty());
    QVERIFY(m_mock.calls(nm).filter(QStringLiteral("AddAndActivateConnection")).isEmpty());
    QVERIFY(m_mock.calls(nm)
                .filter(QStringLiteral("Update {"))
                .constLast()
                .contains(QLatin1String("\"psk\": \"n3w\"")));
    QVERIFY(m_mock.calls(nm)
                .filter(QStringLiteral("ActivateConnection"))
                .constLast()
                .endsWith(QLatin1String(
                    "/Devices/wlan0dev\" \"/org/freedesktop/NetworkManager/AccessPoint/ap2\"")));
    QVERIFY(emitDeviceState(100u, 0u));
    QTRY_COMPARE(outcomes->load(), 12); // connecting, then connected
}

QTEST_GUILESS_MAIN(tst_LinuxNetwork)
#include "tst_linuxnetwork.moc"
