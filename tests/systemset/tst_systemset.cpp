#include "MeyerSingleton.h"
#include "PanelSimulator.h"
#include "SystemSet.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

using HMI::PanelSimulator;
using HMI::SystemSet;

Q_DECLARE_METATYPE(std::function<int(SystemSet &)>)

namespace {

SystemSet &panel()
{
    return MeyerSingleton<SystemSet>::instance();
}

constexpr HMI::IP ip4(unsigned a, unsigned b, unsigned c, unsigned d)
{
    return (a << 24) | (b << 16) | (c << 8) | d;
}

QString ipText(HMI::IP ip)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(ip >> 24)
        .arg((ip >> 16) & 255)
        .arg((ip >> 8) & 255)
        .arg(ip & 255);
}

QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

/// Runs @p f with stderr sent to a file and returns what it wrote.
template<typename F>
QByteArray captureStderr(F f)
{
    std::fflush(stderr);
    QTemporaryFile file;
    if (!file.open())
        return QByteArray("(no temporary file)");
    const int saved = dup(2);
    dup2(file.handle(), 2);
    f();
    std::fflush(stderr);
    dup2(saved, 2);
    close(saved);
    return readFile(file.fileName());
}

HMI::SSID ssidOf(const QByteArray &bytes)
{
    HMI::SSID ssid{};
    std::copy_n(bytes.constData(), std::min(bytes.size(), 32), ssid.begin());
    return ssid;
}

/// Collects callback results together with the thread they arrived on.
struct Recorder
{
    std::mutex mutex;
    QList<int> values;
    QList<bool> onWorker;

    void add(int value)
    {
        std::lock_guard<std::mutex> lock(mutex);
        values << value;
        onWorker << PanelSimulator::isCallbackThread();
    }
};

} // namespace

class tst_SystemSet : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void liveAddresses_data();
    void liveAddresses();
    void callLog();
    void ssidsInTheLog_data();
    void ssidsInTheLog();
    void callbacksArriveOnWorkerAfterDelay();
    void shutdownWithWorkPending_data();
    void shutdownWithWorkPending();
    void scanAndReset();
    void connectOutcomes_data();
    void connectOutcomes();
    void persistenceRoundTrip_data();
    void persistenceRoundTrip();
    void notPersistedStaysInMemory();
    void outsideEditsSurvivePersistedChanges();
    void permissionsKept_data();
    void permissionsKept();
    void temporariesAtLoad_data();
    void temporariesAtLoad();
    void unwritableStateFile();
    void badStateFiles_data();
    void badStateFiles();
    void wrongTypesKeepTheirDefaults();
    void outOfRangeValues_data();
    void outOfRangeValues();
    void languageFollowsEditedFile_data();
    void languageFollowsEditedFile();

private:
    QTemporaryDir m_dir;
    QString m_envLog;
};

void tst_SystemSet::initTestCase()
{
    QVERIFY(m_dir.isValid());
    // The first use reads the environment: a state file and a log file.
    const QString state = m_dir.filePath(QStringLiteral("env-state.json"));
    writeFile(state, R"({"serial": "FROM-ENV", "adapters": {"LAN0": {}}})");
    m_envLog = m_dir.filePath(QStringLiteral("env.log"));
    qputenv("QSP_PANEL_STATE", state.toUtf8());
    qputenv("QSP_PANEL_LOG", m_envLog.toUtf8());
    QCOMPARE(panel().getSerialNumber(), std::string("FROM-ENV"));
    QCOMPARE(panel().getAllNIC(), int(SystemSet::NIC_LAN0));
    panel().beep(true);
    QCOMPARE(readFile(m_envLog), QByteArray("beep 1\n"));
    PanelSimulator::setLogFile(std::string());
}

void tst_SystemSet::init()
{
    QVERIFY(PanelSimulator::loadStateFile(std::string()));
    PanelSimulator::clearCallLog();
}

void tst_SystemSet::cleanup()
{
    QVERIFY(PanelSimulator::waitForIdle(5000));
}

void tst_SystemSet::liveAddresses_data()
{
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<int>("nic");
    QTest::addColumn<QString>("addresses"); // ip mask gateway

    QTest::newRow("static LAN0") << QByteArray("{}") << 1 << "192.168.1.20 255.255.255.0 192.168.1.1";
    QTest::newRow("DHCP LAN1: the lease") << QByteArray("{}") << 2 << "10.0.0.57 255.0.0.0 10.0.0.1";
    QTest::newRow("connected Wi-Fi") << QByteArray("{}") << 4 << "172.16.4.33 255.255.0.0 172.16.0.1";
    QTest::newRow("disabled") << QByteArray(R"({"adapters": {"LAN0": {"enabled": false}}})") << 1
                              << "0.0.0.0 0.0.0.0 0.0.0.0";
    QTest::newRow("Wi-Fi, no network")
        << QByteArray(R"({"wifi": {"connected": null}})") << 4 << "0.0.0.0 0.0.0.0 0.0.0.0";
    QTest::newRow("absent adapter") << QByteArray(R"({"adapters": {"LAN1": {}}})") << 1
                                    << "0.0.0.0 0.0.0.0 0.0.0.0";
    QTest::newRow("names no adapter") << QByteArray("{}") << 8 << "0.0.0.0 0.0.0.0 0.0.0.0";
}

void tst_SystemSet::liveAddresses()
{
    QFETCH(QByteArray, state);
    QFETCH(int, nic);
    QVERIFY(PanelSimulator::loadStateJson(state.toStdString()));
    const auto n = static_cast<SystemSet::NIC>(nic);
    QTEST(QStringList(
              {ipText(panel().getIp(n)), ipText(panel().getSubnetMask(n)), ipText(panel().getGateway(n))})
              .join(QLatin1Char(' ')),
          "addresses");
}

void tst_SystemSet::callLog()
{
    // Calls that change or start something are logged, in memory and in the log file; getters are not.
    const QString logPath = m_dir.filePath(QStringLiteral("calls.log"));
    QFile::remove(logPath);
    PanelSimulator::setLogFile(logPath.toStdString());
    const QByteArray err = captureStderr([] {
        panel().setGateway(SystemSet::NIC_LAN1, ip4(10, 0, 0, 254), false);
        panel().getIp(SystemSet::NIC_LAN0);
        panel().isBuzzerOn();
        panel().getLanguage();
        panel().reboot();
    });
    PanelSimulator::setLogFile(std::string());
    QCOMPARE(PanelSimulator::callLog(), (std::vector<std::string>{"setGateway 2 10.0.0.254 0", "reboot"}));
    QCOMPARE(readFile(logPath), QByteArray("setGateway 2 10.0.0.254 0\nreboot\n"));
    QVERIFY2(err.contains("reboot"), err); // said on stderr, since nothing restarts
}

void tst_SystemSet::ssidsInTheLog_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("logged");

    QTest::newRow("plain") << QByteArray("Office") << QByteArray("\"Office\"");
    QTest::newRow("UTF-8 text") << QByteArray("\xe5\xb7\xa5\xe5\x8e\x82 A")
                                << QByteArray("\"\xe5\xb7\xa5\xe5\x8e\x82 A\"");
    QTest::newRow("empty") << QByteArray() << QByteArray("\"\"");
    QTest::newRow("32 bytes, no terminator") << QByteArray(40, 'x') << "\"" + QByteArray(32, 'x') + "\"";
    QTest::newRow("GB2312") << QByteArray::fromHex("c4e3bac3") << QByteArray("\"hex:c4e3bac3\"");
    QTest::newRow("UTF-8 cut short") << QByteArray("\xe5\xb7") << QByteArray("\"hex:e5b7\"");
    QTest::newRow("forged line") << QByteArray("a\" pw=0\nreboot")
                                 << QByteArray("\"hex:61222070773d300a7265626f6f74\"");
    QTest::newRow("quote") << QByteArray("a\"b") << QByteArray("\"hex:612262\"");
    QTest::newRow("backslash") << QByteArray("a\\b") << QByteArray("\"hex:615c62\"");
    QTest::newRow("carriage return") << QByteArray("a\rb") << QByteArray("\"hex:610d62\"");
    QTest::newRow("tab") << QByteArray("a\tb") << QByteArray("\"hex:610962\"");
    QTest::newRow("DEL") << QByteArray("a\x7f") << QByteArray("\"hex:617f\"");
    QTest::newRow("C1 next line") << QByteArray("a\xc2\x85") << QByteArray("\"hex:61c285\"");
    QTest::newRow("line separator") << QByteArray("a\xe2\x80\xa8") << QByteArray("\"hex:61e280a8\"");
    QTest::newRow("paragraph separator") << QByteArray("\xe2\x80\xa9") << QByteArray("\"hex:e280a9\"");
}

void tst_SystemSet::ssidsInTheLog()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, logged);
    HMI::SSID ssid{};
    std::fill(ssid.begin(), ssid.end(), 'x'); // a name of 32 bytes has no terminator
    std::copy_n(name.constData(), std::min(name.size(), 32), ssid.begin());
    if (name.size() < 32)
        ssid[static_cast<size_t>(name.size())] = '\0';
    QVERIFY(PanelSimulator::loadStateJson(R"({"delaysMs": {"connect": 0}})"));
    panel().connectWifi(ssid, "pw", nullptr);
    QCOMPARE(PanelSimulator::callLog(),
             std::vector<std::string>{"connectWifi " + logged.toStdString() + " pw=2"});
}

void tst_SystemSet::callbacksArriveOnWorkerAfterDelay()
{
    QVERIFY(PanelSimulator::loadStateJson(
        R"({"dhcpState": 0, "ping": false, "delaysMs": {"dhcp": 200, "ping": 100}})"));
    Recorder dhcp;
    Recorder ping;
    QElapsedTimer timer;
    timer.start();
    std::atomic<qint64> dhcpAt{-1};
    panel().setDHCP(
        SystemSet::NIC_LAN0, true,
        [&](SystemSet::DHCP_STATE s) {
            dhcpAt = timer.elapsed();
            dhcp.add(s);
        },
        true);
    panel().pingTest(SystemSet::NIC_LAN0, [&](bool ok) { ping.add(ok); });
    // The mode switches at once; the callbacks come later.
    QVERIFY(panel().isDhcpOn(SystemSet::NIC_LAN0));
    QVERIFY(dhcp.values.isEmpty());
    QCOMPARE(PanelSimulator::pendingCallbacks(), 2);
    QVERIFY(PanelSimulator::waitForIdle(5000));
    QCOMPARE(dhcp.values, QList<int>{0});
    QCOMPARE(dhcp.onWorker, QList<bool>{true});
    QVERIFY2(dhcpAt >= 200, QByteArray::number(qint64(dhcpAt)));
    QCOMPARE(ping.values, QList<int>{0});
    QCOMPARE(ping.onWorker, QList<bool>{true});
    QVERIFY(!PanelSimulator::isCallbackThread());
}

void tst_SystemSet::shutdownWithWorkPending_data()
{
    QTest::addColumn<int>("delayMs");
    QTest::addColumn<int>("maxCalls"); // -1: whichever fell due before the end
    QTest::newRow("due at once") << 0 << -1;
    QTest::newRow("due during the shutdown") << 30 << -1;
    QTest::newRow("due in a second") << 1000 << 1;
    QTest::newRow("longest delay") << INT_MAX << 1; // only connectWifi's "connecting" comes at once
}

void tst_SystemSet::shutdownWithWorkPending()
{
    QFETCH(int, delayMs);
    const QString path = m_dir.filePath(QStringLiteral("shutdown.json"));
    const QByteArray d = QByteArray::number(delayMs);
    writeFile(path, R"({"delaysMs": {"dhcp": )" + d + R"(, "ping": )" + d + R"(, "scan": )" + d +
                        R"(, "reset": )" + d + R"(, "connect": )" + d + "}}");
    qputenv("QSP_PANEL_STATE", path.toUtf8());
    qputenv("QSP_PANEL_LOG", QByteArray());
    // A host that exits with a ping, a scan, a DHCP request and a connection under way.
    auto calls = std::make_shared<std::atomic<int>>(0);
    QElapsedTimer timer;
    {
        SystemSet own;
        const auto count = [calls](auto &&...) { ++*calls; };
        own.setDHCP(SystemSet::NIC_LAN0, true, count, true);
        own.pingTest(SystemSet::NIC_LAN0, count);
        own.scanWifi(count);
        own.resetWifi(count);
        own.connectWifi(ssidOf("Office"), "welcome1", count);
        QThread::msleep(20); // the callback thread now waits for the first task to fall due
        timer.start();
    }
    QVERIFY2(timer.elapsed() < 500, QByteArray::number(timer.elapsed())); // nothing pending is waited for
    QCOMPARE(calls.use_count(), 1L);                                      // the dropped tasks are freed
    QFETCH(int, maxCalls);
    if (maxCalls >= 0)
        QVERIFY(*calls <= maxCalls);
}

void tst_SystemSet::scanAndReset()
{
    QVERIFY(PanelSimulator::loadStateJson(R"({"delaysMs": {"scan": 10, "reset": 10}, "wifi": {"networks": [
        {"ssid": "A", "strength": 90, "secured": true, "password": "pa"},
        {"ssidHex": "c4e3bac3", "strength": 100},
        {"ssid": "A", "strength": 5, "secured": false}]}})"));
    QStringList seen; // name in hex, password, strength, secured; "worker" when on the callback thread
    const auto record = [&seen](std::unique_ptr<std::vector<SystemSet::SsidInfo>> list) {
        seen << QLatin1String(PanelSimulator::isCallbackThread() ? "worker" : "GUI");
        for (const auto &info : list ? *list : std::vector<SystemSet::SsidInfo>())
            seen << QStringLiteral("%1 %2 %3 %4")
                        .arg(QString::fromLatin1(QByteArray(info.ssid.data()).toHex()),
                             QString::fromStdString(info.password))
                        .arg(info.signal)
                        .arg(info.encrypted);
    };
    panel().scanWifi(record);
    QVERIFY(PanelSimulator::waitForIdle(5000));
    QCOMPARE(seen.join(QLatin1Char(',')), QStringLiteral("worker,41 pa 90 1,c4e3bac3  100 0,41  5 0"));

    // A reset disconnects at once and then reports a scan; "null" scans report no list.
    QVERIFY(PanelSimulator::loadStateJson(R"({"wifi": {"scan": "null"}, "delaysMs": {"reset": 10}})"));
    seen.clear();
    panel().resetWifi(record);
    QVERIFY(!panel().isWifiConnected());
    QCOMPARE(panel().currentWifiSsid()[0], '\0');
    QCOMPARE(panel().getIp(SystemSet::NIC_WIFI), HMI::IP(0));
    QVERIFY(PanelSimulator::waitForIdle(5000));
    QCOMPARE(seen, QStringList{QStringLiteral("worker")});
}

void tst_SystemSet::connectOutcomes_data()
{
    QTest::addColumn<QByteArray>("ssid");
    QTest::addColumn<QByteArray>("password");
    QTest::addColumn<int>("outcome");
    QTest::addColumn<QByteArray>("connectedAfter");

    QTest::newRow("right password") << QByteArray("Office") << QByteArray("welcome1") << 2
                                    << QByteArray("Office");
    QTest::newRow("wrong password") << QByteArray("Office") << QByteArray("welcome2") << 4
                                    << QByteArray("Plant-Floor");
    QTest::newRow("open network ignores the password")
        << QByteArray("Guest") << QByteArray("x") << 2 << QByteArray("Guest");
    QTest::newRow("unknown network") << QByteArray("Nowhere") << QByteArray("") << 0
                                     << QByteArray("Plant-Floor");
    QTest::newRow("forced time-out") << QByteArray("Slow") << QByteArray("") << 3
                                     << QByteArray("Plant-Floor");
    QTest::newRow("GB2312 name") << QByteArray::fromHex("c4e3bac3") << QByteArray("k") << 2
                                 << QByteArray::fromHex("c4e3bac3");
}

void tst_SystemSet::connectOutcomes()
{
    QFETCH(QByteArray, ssid);
    QFETCH(QByteArray, password);
    QVERIFY(PanelSimulator::loadStateJson(R"({"delaysMs": {"connect": 50}, "wifi": {"networks": [
        {"ssid": "Plant-Floor", "strength": 82, "secured": true, "secret": "line-4-floor"},
        {"ssid": "Office", "strength": 55, "secured": true, "password": "welcome1", "secret": "welcome1"},
        {"ssid": "Guest", "strength": 30, "secured": false},
        {"ssid": "Slow", "strength": 10, "secured": false, "result": 3},
        {"ssidHex": "c4e3bac3", "strength": 40, "secured": true, "secret": "k"}]}})"));
    Recorder states;
    panel().connectWifi(ssidOf(ssid), password.toStdString(), [&](SystemSet::StateWifi s) { states.add(s); });
    QVERIFY(PanelSimulator::waitForIdle(5000));
    QFETCH(int, outcome);
    QCOMPARE(states.values, (QList<int>{1, outcome}));
    QCOMPARE(states.onWorker, (QList<bool>{true, true}));
    QTEST(QByteArray(panel().currentWifiSsid().data()), "connectedAfter");
    if (outcome == 2)
        QCOMPARE(panel().getIp(SystemSet::NIC_WIFI), ip4(172, 16, 4, 33));
}

void tst_SystemSet::persistenceRoundTrip_data()
{
    QTest::addColumn<QString>("adapter");
    QTest::addColumn<int>("nic");
    QTest::addColumn<bool>("dhcp"); // the mode written: the other one than the adapter's default
    QTest::newRow("LAN0") << "LAN0" << 1 << true;
    QTest::newRow("LAN1") << "LAN1" << 2 << false;
    QTest::newRow("Wi-Fi") << "WIFI" << 4 << false;
}

void tst_SystemSet::persistenceRoundTrip()
{
    QFETCH(QString, adapter);
    QFETCH(int, nic);
    QFETCH(bool, dhcp);
    const auto n = static_cast<SystemSet::NIC>(nic);
    const QString path = m_dir.filePath(QStringLiteral("roundtrip.json"));
    writeFile(path,
              QStringLiteral(R"({"serial": "KEEP-ME", "extra": [1, 2], "adapters": {"%1": {"dhcp": %2}, )"
                             R"("VPN": {}}})")
                  .arg(adapter, QLatin1String(dhcp ? "false" : "true"))
                  .toUtf8());
    QVERIFY(PanelSimulator::loadStateFile(path.toStdString()));
    SystemSet &p = panel();
    p.setDHCP(n, dhcp, nullptr, true);
    p.setIp(n, ip4(192, 168, 7, 9), true);
    p.setSubnetMask(n, ip4(255, 255, 0, 0), true);
    p.setGateway(n, ip4(192, 168, 0, 1), true);
    p.setDns(n, {ip4(1, 1, 1, 1), ip4(9, 9, 9, 9)});
    p.enableNIC(SystemSet::NIC_VPN, true, true);
    p.setBright(33, true); // kept as the nearest level
    const auto absent = static_cast<SystemSet::NIC>(nic == 1 ? 2 : 1);
    p.setIp(absent, ip4(10, 0, 0, 9), true); // this panel has no such adapter to keep it for
    QVERIFY(PanelSimulator::waitForIdle(5000));
    QCOMPARE(QDir(m_dir.path()).entryList({QStringLiteral("*roundtrip*")}, QDir::Files | QDir::Hidden),
             QStringList{QStringLiteral("roundtrip.json")}); // no temporary file left behind
    const QJsonObject doc = QJsonDocument::fromJson(readFile(path)).object();
    QCOMPARE(doc.value(QStringLiteral("extra")).toArray().size(), 2);
    QCOMPARE(
        doc[QStringLiteral("adapters")][adapter][QStringLiteral("static")][QStringLiteral("ip")].toString(),
        QStringLiteral("192.168.7.9"));

    // A fresh load reads back every persisted value, and what the simulator does not write stays.
    QVERIFY(PanelSimulator::loadStateFile(path.toStdString()));
    QCOMPARE(p.getAllNIC(), nic | SystemSet::NIC_VPN);
    QCOMPARE(p.isDhcpOn(n), dhcp);
    QCOMPARE(p.getIpFromEE(n), ip4(192, 168, 7, 9));
    QCOMPARE(p.getSubnetMaskFromEE(n), ip4(255, 255, 0, 0));
    QCOMPARE(p.getGatewayFromEE(n), ip4(192, 168, 0, 1));
    QCOMPARE(p.getIp(n) == ip4(192, 168, 7, 9), !dhcp); // the static address is in use without DHCP
    QCOMPARE(p.getDns(n), std::make_pair(ip4(1, 1, 1, 1), ip4(9, 9, 9, 9)));
    QVERIFY(p.isNicEnabled(SystemSet::NIC_VPN));
    QCOMPARE(p.bright(), 32);
    QCOMPARE(p.getSerialNumber(), std::string("KEEP-ME"));
}

void tst_SystemSet::notPersistedStaysInMemory()
{
    const QString path = m_dir.filePath(QStringLiteral("memory.json"));
    QFile::remove(path);
    QVERIFY(PanelSimulator::loadStateFile(path.toStdString())); // a missing file means the defaults
    SystemSet &p = panel();
    p.setBright(5, false);
    p.setBuzzerOn(false);
    p.setDefaultNIC(SystemSet::NIC_WIFI, false);
    p.setVPNServer(SystemSet::VPN_EUROPE);
    p.setLanguage(SystemSet::LANG_CHINESE);
    QVERIFY(!QFile::exists(path)); // nothing of this is kept

    p.setIp(SystemSet::NIC_LAN1, ip4(10, 0, 0, 99), true); // the first persisted change creates the file
    QVERIFY(PanelSimulator::loadStateFile(path.toStdString()));
    QCOMPARE(p.getIpFromEE(SystemSet::NIC_LAN1), ip4(10, 0, 0, 99));
    QCOMPARE(p.bright(), 20); // the level applied without keeping it was not stored
    QVERIFY(p.isBuzzerOn());
    QCOMPARE(p.getDefaultNIC(), SystemSet::NIC_LAN0);
    QCOMPARE(p.getAllNIC(), 1 | 2 | 4 | 16 | 64);
}

void tst_SystemSet::outsideEditsSurvivePersistedChanges()
{
    // Before each persisted change of the screen another program edits the file: keys of its own (also inside
    // an adapter), the language and the level. The change writes its own key only, over the file as it is
    // then, and takes the other program's language.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("merge.json"));
    writeFile(path, R"({"serial": "OUTSIDE", "adapters": {"LAN0": {}, "LAN1": {}, "WIFI": {}}})");
    QVERIFY(PanelSimulator::loadStateFile(path.toStdString()));
    const QStringList adapters = {QStringLiteral("LAN0"), QStringLiteral("LAN1"), QStringLiteral("WIFI")};
    // Each change with the key it writes (under the adapter's when it starts with a slash) and its value
    // there.
    using Change = std::function<QJsonValue(SystemSet &, SystemSet::NIC, HMI::IP)>;
    const std::vector<std::pair<const char *, Change>> changes = {
        {"/static/ip",
         [](SystemSet &p, SystemSet::NIC n, HMI::IP v) { return p.setIp(n, v, true), ipText(v); }},
        {"/static/mask",
         [](SystemSet &p, SystemSet::NIC n, HMI::IP v) { return p.setSubnetMask(n, v, true), ipText(v); }},
        {"/static/gateway",
         [](SystemSet &p, SystemSet::NIC n, HMI::IP v) { return p.setGateway(n, v, true), ipText(v); }},
        {"/dns",
         [](SystemSet &p, SystemSet::NIC n, HMI::IP v) {
             return p.setDns(n, {v, ~v}), QJsonArray{ipText(v), ipText(~v)};
         }},
        {"/enabled",
         [](SystemSet &p, SystemSet::NIC n, HMI::IP v) { return p.enableNIC(n, v & 1, true), bool(v & 1); }},
        {"/dhcp", [](SystemSet &p, SystemSet::NIC n,
                     HMI::IP v) { return p.setDHCP(n, v & 1, nullptr, true), bool(v & 1); }},
        {"brightness", [](SystemSet &p, SystemSet::NIC,
                          HMI::IP v) { return p.setBright(int(v % 32) + 1, true), int(v % 32) + 1; }},
    };
    QMap<QString, QJsonValue> expected{{QStringLiteral("serial"), QStringLiteral("OUTSIDE")}};
    const auto valueAt = [](const QJsonObject &doc, const QString &key) {
        QJsonValue v = doc;
        for (const QString &part : key.split(QLatin1Char('/')))
            v = v.toObject().value(part);
        return v;
    };
    int step = 0;
    const QByteArray err = captureStderr([&] {
        for (const auto &[key, change] : changes) {
            for (int a = 0; a < 3; ++a, ++step) {
                QJsonObject doc = QJsonDocument::fromJson(readFile(path)).object();
                QJsonObject all = doc.value(QStringLiteral("adapters")).toObject();
                QJsonObject own = all.value(adapters[a]).toObject();
                own.insert(QStringLiteral("vendor"), step);
                all.insert(adapters[a], own);
                doc.insert(QStringLiteral("adapters"), all);
                const QJsonObject outside{{QStringLiteral("x%1").arg(step % 4), step},
                                          {QStringLiteral("language"), step % 2},
                                          {QStringLiteral("brightness"), 1 + step}};
                for (auto it = outside.begin(); it != outside.end(); ++it)
                    doc.insert(it.key(), expected[it.key()] = it.value());
                expected[QStringLiteral("adapters/%1/vendor").arg(adapters[a])] = step;
                writeFile(path, QJsonDocument(doc).toJson(step % 2 ? QJsonDocument::Indented
                                                                   : QJsonDocument::Compact));

                const QString at = key[0] == '/'
                                       ? QStringLiteral("adapters/") + adapters[a] + QLatin1String(key)
                                       : QString::fromLatin1(key);
                expected[at] = change(panel(), static_cast<SystemSet::NIC>(1 << a), ip4(10, 0, step, 1 + a));
                const QJsonObject now = QJsonDocument::fromJson(readFile(path)).object();
                for (auto it = expected.cbegin(); it != expected.cend(); ++it)
                    QVERIFY2(valueAt(now, it.key()) == it.value(),
                             qPrintable(at + QLatin1String(": ") + it.key()));
                QCOMPARE(int(panel().getLanguage()), step % 2);
            }
        }
    });
    QVERIFY2(err.isEmpty(), err);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
             QStringList{QStringLiteral("merge.json")});
}

void tst_SystemSet::permissionsKept_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("read-only") << 0444;
    QTest::newRow("owner and group") << 0640;
    QTest::newRow("owner only") << 0600;
}

void tst_SystemSet::permissionsKept()
{
    QFETCH(int, mode);
    QTemporaryDir dir;
    const QByteArray path = dir.filePath(QStringLiteral("mode.json")).toUtf8();
    writeFile(QString::fromUtf8(path), R"({"brightness": 5})");
    QCOMPARE(::chmod(path.constData(), mode_t(mode)), 0);
    QVERIFY(PanelSimulator::loadStateFile(path.toStdString()));
    panel().setBright(9, true);
    QCOMPARE(QJsonDocument::fromJson(readFile(QString::fromUtf8(path)))[QStringLiteral("brightness")].toInt(),
             9);
    struct stat st
    {};
    QCOMPARE(::stat(path.constData(), &st), 0);
    QCOMPARE(int(st.st_mode & 07777), mode);
}

void tst_SystemSet::temporariesAtLoad_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("removed");
    // 4194304 is past the largest process id Linux hands out: that writer is gone. Process 1 always runs.
    QTest::newRow("writer gone") << ".state.json.tmp-4194304-1a2b" << true;
    QTest::newRow("writer still running") << ".state.json.tmp-1-3c4d" << false;
    QTest::newRow("another file's") << ".other.json.tmp-4194304-7a8b" << false;
    QTest::newRow("not hidden") << "state.json.tmp-4194304-9c0d" << false;
}

void tst_SystemSet::temporariesAtLoad()
{
    QFETCH(QString, name);
    QTemporaryDir dir;
    writeFile(dir.filePath(QStringLiteral("state.json")), "{}");
    writeFile(dir.filePath(name), "{\"adapters\": "); // what a killed writer leaves
    QVERIFY(PanelSimulator::loadStateFile(dir.filePath(QStringLiteral("state.json")).toStdString()));
    QTEST(!QFile::exists(dir.filePath(name)), "removed");
}

void tst_SystemSet::unwritableStateFile()
{
    const std::string path = m_dir.filePath(QStringLiteral("no-such-dir/state.json")).toStdString();
    QVERIFY(PanelSimulator::loadStateFile(path));
    const QByteArray err = captureStderr([] {
        panel().setBright(9, true);
        panel().setBright(10, true);
    });
    QVERIFY2(err.contains("cannot be written") && err.contains("no-such-dir/state.json"), err);
    QCOMPARE(err.count('\n'), 1); // reported once
    QCOMPARE(panel().bright(), 10);
}

void tst_SystemSet::badStateFiles_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<bool>("afterStart"); // written by another program after the state was loaded

    QTest::newRow("empty") << QByteArray() << QByteArray("at offset 0") << false;
    QTest::newRow("not JSON") << QByteArray("serial = 5\n") << QByteArray("not valid JSON") << false;
    QTest::newRow("array") << QByteArray("[1, 2]") << QByteArray("not an object") << false;
    QTest::newRow("truncated after start")
        << QByteArray(R"({"brightness": 3, )") << QByteArray("at offset") << true;
    QTest::newRow("array after start") << QByteArray("[1, 2]") << QByteArray("not an object") << true;
}

void tst_SystemSet::badStateFiles()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, message);
    QFETCH(bool, afterStart);
    const QString path = m_dir.filePath(QStringLiteral("bad.json"));
    writeFile(path, afterStart ? QByteArray("{}") : content);
    bool loaded = true;
    QByteArray err = captureStderr([&] { loaded = PanelSimulator::loadStateFile(path.toStdString()); });
    QCOMPARE(loaded, afterStart);
    if (afterStart) {
        writeFile(path, content);
    } else {
        QVERIFY2(err.contains(path.toUtf8()) && err.contains(message), err);
        QCOMPARE(err.count('\n'), 1);
        QCOMPARE(panel().bright(), 20);
        QCOMPARE(panel().getAllNIC(), 1 | 2 | 4 | 16 | 64);
    }

    // Persisted changes neither overwrite the file nor get lost; the file is reported once.
    err = captureStderr([] {
        panel().setIp(SystemSet::NIC_LAN0, ip4(192, 168, 1, 77), true);
        panel().setBright(9, true);
    });
    QVERIFY2(err.contains("not overwriting") && (!afterStart || err.contains(message)), err);
    QCOMPARE(err.count('\n'), 1);
    QCOMPARE(readFile(path), content);
    QCOMPARE(panel().getIpFromEE(SystemSet::NIC_LAN0), ip4(192, 168, 1, 77));
}

void tst_SystemSet::wrongTypesKeepTheirDefaults()
{
    const QString path = m_dir.filePath(QStringLiteral("types.json"));
    writeFile(path, R"({"brightness": "bright", "buzzer": false, "serial": 42,
        "adapters": {"LAN0": {"enabled": 1, "mac": "zz:1A", "static": {"ip": "300.1.1.1", "mask": "255.255.0.0"},
                              "dns": ["1.1.1.1"]}, "WIFI": []},
        "defaultAdapter": "ETH9", "modem": {"signal": 1.5}, "wifi": {"networks": [3, {"ssidHex": "zz"}]},
        "delaysMs": {"scan": -1, "ping": 1e300}})");
    const QByteArray err = captureStderr([&] { QVERIFY(PanelSimulator::loadStateFile(path.toStdString())); });
    const QList<QByteArray> expected =
        QByteArray("brightness serial adapters.LAN0.enabled adapters.LAN0.mac adapters.LAN0.static.ip "
                   "adapters.LAN0.dns adapters.WIFI defaultAdapter modem.signal wifi.networks[0] "
                   "wifi.networks[1].ssidHex delaysMs.scan delaysMs.ping")
            .split(' ');
    for (const QByteArray &key : expected)
        QVERIFY2(err.contains('"' + key + '"'), key + " not reported in:\n" + err);
    QCOMPARE(err.count('\n'), expected.size());
    QVERIFY(err.contains(path.toUtf8()));

    SystemSet &p = panel();
    QCOMPARE(p.bright(), 20);
    QVERIFY(!p.isBuzzerOn()); // the well-typed keys are read
    QCOMPARE(p.getSerialNumber(), std::string("HMI7-2026-000123"));
    QVERIFY(p.isNicEnabled(SystemSet::NIC_LAN0));
    QCOMPARE(p.getMac(SystemSet::NIC_LAN0), (HMI::MAC{0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}));
    QCOMPARE(p.getIpFromEE(SystemSet::NIC_LAN0), ip4(192, 168, 1, 20));
    QCOMPARE(p.getSubnetMaskFromEE(SystemSet::NIC_LAN0), ip4(255, 255, 0, 0));
    QCOMPARE(p.getAllNIC(), int(SystemSet::NIC_LAN0 | SystemSet::NIC_WIFI));
    QCOMPARE(p.getDefaultNIC(), SystemSet::NIC_LAN0);
    QCOMPARE(p.get4GSignal(SystemSet::NIC_4G), 0); // no modem on this panel

    // Each pair of a MAC address is two hex digits: no sign, no padding.
    for (const char *mac : {" 0:1A:2B:3C:4D:5E", "+0:1A:2B:3C:4D:5E", "0x:1A:2B:3C:4D:5E"}) {
        const QByteArray json = QByteArray(R"({"adapters": {"LAN0": {"mac": ")") + mac + R"("}}})";
        const QByteArray macErr =
            captureStderr([&] { QVERIFY(PanelSimulator::loadStateJson(json.constData())); });
        QVERIFY2(macErr.contains("\"adapters.LAN0.mac\""), mac);
    }
}

void tst_SystemSet::outOfRangeValues_data()
{
    using Get = std::function<int(SystemSet &)>;
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<Get>("get");
    QTest::addColumn<int>("value");

    const Get bright = [](SystemSet &p) { return p.bright(); };
    const Get wifi = [](SystemSet &p) { return p.currentWifiSignalStrength(); };
    const Get language = [](SystemSet &p) { return int(p.getLanguage()); };
    const Get scanned = [](SystemSet &p) {
        std::atomic<int> signal{-1};
        p.scanWifi(
            [&](std::unique_ptr<std::vector<SystemSet::SsidInfo>> list) { signal = list->at(0).signal; });
        PanelSimulator::waitForIdle(5000);
        return int(signal);
    };
    const Get dhcp = [](SystemSet &p) {
        std::atomic<int> state{-1};
        p.setDHCP(
            SystemSet::NIC_LAN0, true, [&](SystemSet::DHCP_STATE s) { state = s; }, false);
        PanelSimulator::waitForIdle(5000);
        return int(state);
    };
    const QByteArray scan(
        R"({"delaysMs": {"scan": 0}, "wifi": {"networks": [{"ssid": "A", "strength": %1}]}})");
    QTest::newRow("brightness above") << QByteArray(R"({"brightness": 99})") << bright << 32;
    QTest::newRow("brightness below") << QByteArray(R"({"brightness": 0})") << bright << 1;
    QTest::newRow("brightness set above")
        << QByteArray("{}") << Get([](SystemSet &p) { return p.setBright(99, false), p.bright(); }) << 32;
    QTest::newRow("brightness set below")
        << QByteArray("{}") << Get([](SystemSet &p) { return p.setBright(-4, false), p.bright(); }) << 1;
    QTest::newRow("Wi-Fi strength above") << QByteArray(R"({"wifi": {"strength": 300}})") << wifi << 100;
    QTest::newRow("Wi-Fi strength below") << QByteArray(R"({"wifi": {"strength": -1}})") << wifi << 0;
    QTest::newRow("scanned strength above") << QByteArray(scan).replace("%1", "250") << scanned << 100;
    QTest::newRow("scanned strength below") << QByteArray(scan).replace("%1", "-7") << scanned << 0;
    QTest::newRow("language 7 is English") << QByteArray(R"({"language": 7})") << language << 1;
    QTest::newRow("language set to 7")
        << QByteArray(R"({"language": 0})")
        << Get([](SystemSet &p) { return p.setLanguage(SystemSet::Language(7)), int(p.getLanguage()); }) << 1;
    QTest::newRow("VPN server set to 7 is ignored")
        << QByteArray(R"({"vpn": {"server": 1}})")
        << Get([](SystemSet &p) { return p.setVPNServer(SystemSet::VPNServer(7)), int(p.getVPNServer()); })
        << 1;
    // Reported as they stand: the screen must cope with them.
    const Get signal = [](SystemSet &p) { return p.get4GSignal(SystemSet::NIC_4G); };
    const Get vpn = [](SystemSet &p) { return p.getVPNServerState(SystemSet::VPN_ASIA); };
    QTest::newRow("modem signal") << QByteArray(R"({"modem": {"signal": 250}})") << signal << 250;
    QTest::newRow("modem state") << QByteArray(R"({"modem": {"state": -9}})")
                                 << Get([](SystemSet &p) { return p.get4GState(SystemSet::NIC_4G); }) << -9;
    const QByteArray vpnOn(R"("adapters": {"VPN": {"enabled": true}})");
    QTest::newRow("VPN state") << R"({"vpn": {"state": 77}, )" + vpnOn + '}' << vpn << 77;
    QTest::newRow("VPN state while disabled") << QByteArray(R"({"vpn": {"state": 5}})") << vpn << 0;
    // Defaults that no page shows.
    QTest::newRow("default modem signal") << QByteArray("{}") << signal << 75;
    QTest::newRow("default VPN state") << '{' + vpnOn + '}' << vpn << 5;
    QTest::newRow("default Wi-Fi MAC")
        << QByteArray("{}") << Get([](SystemSet &p) { return int(p.getMac(SystemSet::NIC_WIFI)[5]); })
        << 0x60;
    QTest::newRow("DHCP state") << QByteArray(R"({"dhcpState": 7, "delaysMs": {"dhcp": 0}})") << dhcp << 7;
}

void tst_SystemSet::outOfRangeValues()
{
    QFETCH(QByteArray, state);
    QFETCH(std::function<int(SystemSet &)>, get);
    const QByteArray err =
        captureStderr([&] { QVERIFY(PanelSimulator::loadStateJson(state.toStdString())); });
    QVERIFY2(err.isEmpty(), err); // clamped quietly
    QTEST(get(panel()), "value");
}

void tst_SystemSet::languageFollowsEditedFile_data()
{
    QTest::addColumn<QByteArray>("content"); // written over {"language": 1, "brightness": 7}
    QTest::addColumn<bool>("sameTime");      // with the time stamp it had
    QTest::addColumn<int>("language");
    QTest::addColumn<QByteArray>("report");

    QTest::newRow("later") << QByteArray(R"({"language": 1, "brightness": 30})") << false << 1
                           << QByteArray();
    QTest::newRow("same time, other size")
        << QByteArray(R"({"language": 1, "brightness": 30})") << true << 1 << QByteArray();
    QTest::newRow("same time and size")
        << QByteArray(R"({"language": 1, "brightness": 8})") << true << 1 << QByteArray();
    QTest::newRow("not JSON") << QByteArray("{broken") << false << 0 << QByteArray("not valid JSON");
}

void tst_SystemSet::languageFollowsEditedFile()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, sameTime);
    QFETCH(QByteArray, report);
    const QByteArray path = m_dir.filePath(QStringLiteral("language.json")).toUtf8();
    writeFile(QString::fromUtf8(path), R"({"language": 1, "brightness": 7})");
    QVERIFY(PanelSimulator::loadStateFile(path.toStdString()));
    SystemSet &p = panel();
    p.setLanguage(SystemSet::LANG_CHINESE);
    QCOMPARE(p.getLanguage(), SystemSet::LANG_CHINESE); // the file did not change: memory answers

    struct stat before
    {};
    QCOMPARE(::stat(path.constData(), &before), 0);
    writeFile(QString::fromUtf8(path), content);
    timespec times[2] = {before.st_atim, before.st_mtim};
    if (!sameTime)
        times[1].tv_sec += 5; // a change visible even on a file system with coarse time stamps
    QCOMPARE(::utimensat(AT_FDCWD, path.constData(), times, 0), 0);
    const QByteArray err = captureStderr([&] { QTEST(int(p.getLanguage()), "language"); });
    QVERIFY2(report.isEmpty() ? err.isEmpty() : err.contains(report), err);
    QCOMPARE(p.bright(), 7); // nothing else is re-read

    // Neither a change already seen nor the simulator's own write counts as another program's change.
    const auto other =
        p.getLanguage() == SystemSet::LANG_CHINESE ? SystemSet::LANG_ENGLISH : SystemSet::LANG_CHINESE;
    p.setLanguage(other);
    captureStderr([&] { p.setBright(3, true); });
    QCOMPARE(p.getLanguage(), other);
}

QTEST_GUILESS_MAIN(tst_SystemSet)
#include "tst_systemset.moc"
