#include "MeyerSingleton.h"
#include "PanelSimulator.h"
#include "SystemSet.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
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
using Reading = std::function<int(SystemSet &)>;

Q_DECLARE_METATYPE(Reading)

namespace {

SystemSet &panel()
{
    return MeyerSingleton<SystemSet>::instance();
}

constexpr HMI::IP ip4(unsigned a, unsigned b, unsigned c, unsigned d)
{
    return (a << 24) | (b << 16) | (c << 8) | d;
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

/// @p name as a network name; one of 32 bytes has no terminator, and nothing after them may count.
HMI::SSID ssidOf(const QByteArray &name)
{
    HMI::SSID ssid;
    ssid.fill('x');
    std::copy_n(name.constData(), std::min(name.size(), 32), ssid.begin());
    if (name.size() < 32)
        ssid[static_cast<size_t>(name.size())] = '\0';
    return ssid;
}

} // namespace

class tst_SystemSet : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        // The first use reads the environment: a state file, and a log file for the calls that change or
        // start something (getters are not logged).
        const QString state = m_dir.filePath(QStringLiteral("env-state.json"));
        writeFile(state, R"({"serial": "FROM-ENV", "adapters": {"LAN0": {}}})");
        const QString log = m_dir.filePath(QStringLiteral("env.log"));
        qputenv("QSP_PANEL_STATE", state.toUtf8());
        qputenv("QSP_PANEL_LOG", log.toUtf8());
        QCOMPARE(panel().getSerialNumber(), std::string("FROM-ENV"));
        QCOMPARE(panel().getAllNIC(), int(SystemSet::NIC_LAN0));
        const QByteArray err = captureStderr([] {
            panel().setGateway(SystemSet::NIC_LAN1, ip4(10, 0, 0, 254), false);
            panel().getIp(SystemSet::NIC_LAN0);
            panel().isBuzzerOn();
            panel().getLanguage();
            panel().reboot();
        });
        QCOMPARE(readFile(log), QByteArray("setGateway 2 10.0.0.254 0\nreboot\n"));
        QVERIFY2(err.contains("reboot"), err); // said on stderr, since nothing restarts
        PanelSimulator::setLogFile(std::string());
    }

    void init()
    {
        QVERIFY(PanelSimulator::loadStateFile(std::string()));
        PanelSimulator::clearCallLog();
    }

    void cleanup() { QVERIFY(PanelSimulator::waitForIdle(5000)); }

    void ssidsInTheLog_data()
    {
        // A name is logged in quotes as it is when it is printable UTF-8 without quotes and backslashes, else
        // as its bytes in hex: no name can end the quotes early or write a line of its own.
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("hex"); // empty: the name as it is
        QTest::newRow("plain") << QByteArray("Office") << QByteArray();
        QTest::newRow("UTF-8 text") << QByteArray("\xe5\xb7\xa5\xe5\x8e\x82 A") << QByteArray();
        QTest::newRow("32 bytes, no terminator") << QByteArray(32, 'x') << QByteArray();
        QTest::newRow("GB2312") << QByteArray::fromHex("c4e3bac3") << QByteArray("c4e3bac3");
        QTest::newRow("forged line") << QByteArray("x pw=0\nreboot")
                                     << QByteArray("782070773d300a7265626f6f74");
        QTest::newRow("quote") << QByteArray("a\"b") << QByteArray("612262");
        QTest::newRow("backslash") << QByteArray("a\\b") << QByteArray("615c62");
        QTest::newRow("DEL") << QByteArray("a\x7f") << QByteArray("617f");
        QTest::newRow("C1 next line") << QByteArray("a\xc2\x85") << QByteArray("61c285");
        QTest::newRow("line separator") << QByteArray("a\xe2\x80\xa8") << QByteArray("61e280a8");
        QTest::newRow("paragraph separator") << QByteArray("\xe2\x80\xa9") << QByteArray("e280a9");
    }

    void ssidsInTheLog()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, hex);
        QVERIFY(PanelSimulator::loadStateJson(R"({"delaysMs": {"connect": 0}})"));
        panel().connectWifi(ssidOf(name), "pw", nullptr);
        const QByteArray logged = hex.isEmpty() ? name : "hex:" + hex;
        QCOMPARE(PanelSimulator::callLog(),
                 std::vector<std::string>{"connectWifi \"" + logged.toStdString() + "\" pw=2"});
    }

    void callbacksComeLaterOnTheirOwnThread()
    {
        // Each answer comes after its own delay, on the simulator's thread, with values as they stand
        // (strengths clamped); the DHCP mode switches at once.
        QVERIFY(PanelSimulator::loadStateJson(R"({"dhcpState": 7, "ping": false,
            "wifi": {"networks": [{"ssid": "A", "strength": 250, "secured": true, "secret": "k"}, {"strength": -7}]},
            "delaysMs": {"ping": 40, "scan": 80, "connect": 120, "dhcp": 160, "reset": 40}})"));
        std::mutex mutex;
        QStringList seen;
        const auto add = [&](const QString &what) {
            std::lock_guard<std::mutex> lock(mutex);
            seen << what + QLatin1String(PanelSimulator::isCallbackThread() ? "" : " on the caller's thread");
        };
        const auto scanned = [&add](const char *what) {
            return [&add, what](std::unique_ptr<std::vector<SystemSet::SsidInfo>> list) {
                QString strengths;
                for (const auto &info : *list)
                    strengths += QStringLiteral(" %1").arg(info.signal);
                add(QLatin1String(what) + strengths);
            };
        };
        SystemSet &p = panel();
        QElapsedTimer timer;
        timer.start();
        p.setDHCP(
            SystemSet::NIC_LAN0, true,
            [&](SystemSet::DHCP_STATE s) { add(QStringLiteral("dhcp %1").arg(s)); }, true);
        p.pingTest(SystemSet::NIC_LAN0, [&](bool ok) { add(QStringLiteral("ping %1").arg(ok)); });
        p.scanWifi(scanned("scan"));
        QVERIFY(p.isDhcpOn(SystemSet::NIC_LAN0));
        QCOMPARE(PanelSimulator::pendingCallbacks(), 3);
        p.connectWifi(ssidOf("A"), "x",
                      [&](SystemSet::StateWifi s) { add(QStringLiteral("connect %1").arg(s)); });
        QVERIFY(PanelSimulator::waitForIdle(5000));
        QVERIFY2(timer.elapsed() >= 160, QByteArray::number(timer.elapsed()));
        QCOMPARE(seen.join(QLatin1Char(',')), QStringLiteral("connect 1,ping 0,scan 100 0,connect 4,dhcp 7"));
        QCOMPARE(p.currentWifiSsid().data(),
                 "Plant-Floor"); // a failed attempt leaves the connection as it was

        // A reset disconnects at once and then reports a scan.
        seen.clear();
        p.resetWifi(scanned("reset"));
        QVERIFY(!p.isWifiConnected());
        QVERIFY(PanelSimulator::waitForIdle(5000));
        QCOMPARE(seen, QStringList{QStringLiteral("reset 100 0")});
    }

    void shutdownWithWorkPending_data()
    {
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<int>("maxCalls"); // -1: whichever fell due before the end
        QTest::newRow("due at once") << 0 << -1;
        QTest::newRow("due during the shutdown") << 30 << -1;
        QTest::newRow("due in a second") << 1000 << 1;
        QTest::newRow("longest delay") << INT_MAX << 1; // only connectWifi's "connecting" comes at once
    }

    void shutdownWithWorkPending()
    {
        QFETCH(int, delayMs);
        const QString path = m_dir.filePath(QStringLiteral("shutdown.json"));
        writeFile(path,
                  QByteArray(R"({"delaysMs": {"dhcp": D, "ping": D, "scan": D, "reset": D, "connect": D}})")
                      .replace("D", QByteArray::number(delayMs)));
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

    void persistedChanges_data()
    {
        QTest::addColumn<QString>("adapter");
        QTest::addColumn<int>("nic");
        QTest::addColumn<bool>("dhcp"); // the mode written: the other one than the adapter's default
        QTest::addColumn<int>("mode");  // of the file, which every write keeps
        QTest::newRow("LAN0") << "LAN0" << 1 << true << 0444;
        QTest::newRow("LAN1") << "LAN1" << 2 << false << 0640;
        QTest::newRow("Wi-Fi") << "WIFI" << 4 << false << 0600;
    }

    void persistedChanges()
    {
        QFETCH(QString, adapter);
        QFETCH(int, nic);
        QFETCH(bool, dhcp);
        QFETCH(int, mode);
        const auto n = static_cast<SystemSet::NIC>(nic);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("state.json"));
        writeFile(path,
                  QStringLiteral(R"({"serial": "KEEP-ME", "adapters": {"%1": {"dhcp": %2}, "VPN": {}}})")
                      .arg(adapter, QLatin1String(dhcp ? "false" : "true"))
                      .toUtf8());
        QVERIFY(PanelSimulator::loadStateFile(path.toStdString()));
        SystemSet &p = panel();
        const auto absent = static_cast<SystemSet::NIC>(nic == 1 ? 2 : 1); // nothing to keep for it here
        const std::vector<std::function<void()>> changes = {
            [&] { p.setDHCP(n, dhcp, nullptr, true); },
            [&] { p.setIp(n, ip4(192, 168, 7, 9), true); },
            [&] { p.setSubnetMask(n, ip4(255, 255, 0, 0), true); },
            [&] { p.setGateway(n, ip4(192, 168, 0, 1), true); },
            [&] {
                p.setDns(n, {ip4(1, 1, 1, 1), ip4(9, 9, 9, 9)});
            },
            [&] { p.enableNIC(SystemSet::NIC_VPN, true, true); },
            [&] { p.setBright(33, true); }, // kept as the nearest level
            [&] { p.setIp(absent, ip4(10, 0, 0, 9), true); },
        };
        // Before each change another program edits the file: a key of its own, one in the adapter's object
        // and the language. The change writes its own key into the file as it is then, and takes that
        // language.
        for (int step = 0; step < int(changes.size()); ++step) {
            QJsonObject doc = QJsonDocument::fromJson(readFile(path)).object();
            QJsonObject adapters = doc.value(QStringLiteral("adapters")).toObject();
            QJsonObject own = adapters.value(adapter).toObject();
            own.insert(QStringLiteral("vendor%1").arg(step), step);
            adapters.insert(adapter, own);
            doc.insert(QStringLiteral("adapters"), adapters);
            doc.insert(QStringLiteral("x%1").arg(step), step);
            doc.insert(QStringLiteral("language"), step % 2);
            QCOMPARE(::chmod(qPrintable(path), 0600), 0);
            writeFile(path, QJsonDocument(doc).toJson());
            QCOMPARE(::chmod(qPrintable(path), mode_t(mode)), 0);
            const auto permissions = QFile::permissions(path);
            changes[size_t(step)]();
            QCOMPARE(QFile::permissions(path), permissions);
            QCOMPARE(int(p.getLanguage()), step % 2);
        }
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{QStringLiteral("state.json")});
        const QJsonObject doc = QJsonDocument::fromJson(readFile(path)).object();
        for (int step = 0; step < int(changes.size()); ++step) {
            QCOMPARE(doc.value(QStringLiteral("x%1").arg(step)).toInt(-1), step);
            QCOMPARE(doc[QStringLiteral("adapters")][adapter][QStringLiteral("vendor%1").arg(step)].toInt(-1),
                     step);
        }

        // A fresh load reads back every persisted value.
        QVERIFY(PanelSimulator::loadStateFile(path.toStdString()));
        QCOMPARE(p.getAllNIC(), nic | SystemSet::NIC_VPN);
        QCOMPARE(p.isDhcpOn(n), dhcp);
        QCOMPARE(p.getIpFromEE(n), ip4(192, 168, 7, 9));
        QCOMPARE(p.getSubnetMaskFromEE(n), ip4(255, 255, 0, 0));
        QCOMPARE(p.getGatewayFromEE(n), ip4(192, 168, 0, 1));
        QCOMPARE(p.getDns(n), std::make_pair(ip4(1, 1, 1, 1), ip4(9, 9, 9, 9)));
        QVERIFY(p.isNicEnabled(SystemSet::NIC_VPN));
        QCOMPARE(p.bright(), 32);
        QCOMPARE(p.getSerialNumber(), std::string("KEEP-ME"));
    }

    void notPersistedStaysInMemory()
    {
        const QString path = m_dir.filePath(QStringLiteral("memory.json"));
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
        QCOMPARE(p.getAllNIC(), 1 | 2 | 4 | 16 | 64);
    }

    void temporariesAtLoad_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("removed");
        // 4194304 is past the largest process id Linux hands out: that writer is gone. Process 1 always runs.
        QTest::newRow("writer gone") << ".state.json.tmp-4194304-1a2b" << true;
        QTest::newRow("writer still running") << ".state.json.tmp-1-3c4d" << false;
        QTest::newRow("another file's") << ".other.json.tmp-4194304-7a8b" << false;
        QTest::newRow("not hidden") << "state.json.tmp-4194304-9c0d" << false;
    }

    void temporariesAtLoad()
    {
        QFETCH(QString, name);
        QTemporaryDir dir;
        writeFile(dir.filePath(QStringLiteral("state.json")), "{}");
        writeFile(dir.filePath(name), "{\"adapters\": "); // what a killed writer leaves
        QVERIFY(PanelSimulator::loadStateFile(dir.filePath(QStringLiteral("state.json")).toStdString()));
        QTEST(!QFile::exists(dir.filePath(name)), "removed");
    }

    void badStateFiles_data()
    {
        QTest::addColumn<QByteArray>("content"); // null: none, in a folder that does not exist
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<bool>("afterStart"); // written by another program after the state was loaded
        QTest::newRow("empty") << QByteArray("") << QByteArray("not valid JSON") << false;
        QTest::newRow("array") << QByteArray("[1, 2]") << QByteArray("not an object at offset 0") << false;
        QTest::newRow("truncated after start")
            << QByteArray(R"({"brightness": 3, )") << QByteArray("at offset") << true;
        QTest::newRow("cannot be written") << QByteArray() << QByteArray("cannot be written") << false;
    }

    void badStateFiles()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, message);
        QFETCH(bool, afterStart);
        const QString path =
            m_dir.filePath(QLatin1String(content.isNull() ? "no-such-dir/bad.json" : "bad.json"));
        if (!content.isNull())
            writeFile(path, afterStart ? QByteArray("{}") : content);
        bool loaded = true;
        QByteArray err = captureStderr([&] { loaded = PanelSimulator::loadStateFile(path.toStdString()); });
        QCOMPARE(loaded, afterStart || content.isNull());
        if (afterStart)
            writeFile(path, content);
        QVERIFY2(err.isEmpty() == loaded, err);
        QVERIFY2(loaded || (err.contains(path.toUtf8()) && err.contains(message) && err.count('\n') == 1),
                 err);
        QCOMPARE(panel().bright(), 20); // the defaults

        // Persisted changes neither overwrite the file nor get lost; the trouble is reported once.
        err = captureStderr([] {
            panel().setIp(SystemSet::NIC_LAN0, ip4(192, 168, 1, 77), true);
            panel().setBright(9, true);
        });
        QVERIFY2(err.contains(loaded ? message : "not overwriting") && err.contains(path.toUtf8()), err);
        QCOMPARE(err.count('\n'), 1);
        QCOMPARE(readFile(path), content);
        QCOMPARE(panel().getIpFromEE(SystemSet::NIC_LAN0), ip4(192, 168, 1, 77));
    }

    void wrongTypesKeepTheirDefaults()
    {
        const QString path = m_dir.filePath(QStringLiteral("types.json"));
        writeFile(path, R"({"brightness": "bright", "buzzer": false, "serial": 42,
            "adapters": {"LAN0": {"enabled": 1, "mac": "zz:1A", "static": {"ip": "300.1.1.1", "mask": "255.255.0.0"},
                                  "dns": ["1.1.1.1"]}, "WIFI": []},
            "defaultAdapter": "ETH9", "modem": {"signal": 1.5}, "wifi": {"networks": [3, {"ssidHex": "zz"}]},
            "delaysMs": {"scan": -1, "ping": 1e300}})");
        const QByteArray err =
            captureStderr([&] { QVERIFY(PanelSimulator::loadStateFile(path.toStdString())); });
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
        QVERIFY(p.isNicEnabled(SystemSet::NIC_LAN0));
        QCOMPARE(p.getMac(SystemSet::NIC_LAN0), (HMI::MAC{0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}));
        QCOMPARE(p.getIpFromEE(SystemSet::NIC_LAN0), ip4(192, 168, 1, 20));
        QCOMPARE(p.getSubnetMaskFromEE(SystemSet::NIC_LAN0), ip4(255, 255, 0, 0));
        QCOMPARE(p.getAllNIC(), int(SystemSet::NIC_LAN0 | SystemSet::NIC_WIFI));

        // Each pair of a MAC address is two hex digits: no sign, no padding.
        for (const char *mac : {" 0:1A:2B:3C:4D:5E", "+0:1A:2B:3C:4D:5E", "0x:1A:2B:3C:4D:5E"}) {
            const QByteArray json = QByteArray(R"({"adapters": {"LAN0": {"mac": "M"}}})").replace("M", mac);
            const QByteArray macErr =
                captureStderr([&] { QVERIFY(PanelSimulator::loadStateJson(json.constData())); });
            QVERIFY2(macErr.contains("\"adapters.LAN0.mac\""), mac);
        }
    }

    void readings_data()
    {
        // Out-of-range values brought into range quietly, others reported as they stand for the screen to
        // cope with, and no address where there is no adapter to have one.
        QTest::addColumn<QByteArray>("state");
        QTest::addColumn<Reading>("read");
        QTest::addColumn<int>("value");
        const Reading bright = [](SystemSet &p) { return p.bright(); };
        const Reading wifi = [](SystemSet &p) { return p.currentWifiSignalStrength(); };
        const Reading vpn = [](SystemSet &p) { return p.getVPNServerState(SystemSet::VPN_ASIA); };
        const auto addresses = [](int nic) {
            const auto n = static_cast<SystemSet::NIC>(nic);
            return Reading(
                [n](SystemSet &p) { return int(p.getIp(n) | p.getSubnetMask(n) | p.getGateway(n)); });
        };
        QTest::newRow("brightness above") << QByteArray(R"({"brightness": 99})") << bright << 32;
        QTest::newRow("brightness below") << QByteArray(R"({"brightness": 0})") << bright << 1;
        QTest::newRow("brightness set above")
            << QByteArray("{}") << Reading([](SystemSet &p) { return p.setBright(99, false), p.bright(); })
            << 32;
        QTest::newRow("brightness set below")
            << QByteArray("{}") << Reading([](SystemSet &p) { return p.setBright(-4, false), p.bright(); })
            << 1;
        QTest::newRow("Wi-Fi strength above") << QByteArray(R"({"wifi": {"strength": 300}})") << wifi << 100;
        QTest::newRow("Wi-Fi strength below") << QByteArray(R"({"wifi": {"strength": -1}})") << wifi << 0;
        QTest::newRow("language 7 is English")
            << QByteArray(R"({"language": 7})") << Reading([](SystemSet &p) { return int(p.getLanguage()); })
            << 1;
        QTest::newRow("language set to 7") << QByteArray(R"({"language": 0})") << Reading([](SystemSet &p) {
            return p.setLanguage(SystemSet::Language(7)), int(p.getLanguage());
        }) << 1;
        QTest::newRow("VPN server set to 7 is ignored")
            << QByteArray(R"({"vpn": {"server": 1}})") << Reading([](SystemSet &p) {
                   return p.setVPNServer(SystemSet::VPNServer(7)), int(p.getVPNServer());
               })
            << 1;
        QTest::newRow("modem signal")
            << QByteArray(R"({"modem": {"signal": 250}})")
            << Reading([](SystemSet &p) { return p.get4GSignal(SystemSet::NIC_4G); }) << 250;
        QTest::newRow("modem state") << QByteArray(R"({"modem": {"state": -9}})")
                                     << Reading([](SystemSet &p) { return p.get4GState(SystemSet::NIC_4G); })
                                     << -9;
        QTest::newRow("VPN state") << QByteArray(
                                          R"({"vpn": {"state": 77}, "adapters": {"VPN": {"enabled": true}}})")
                                   << vpn << 77;
        QTest::newRow("VPN state while disabled") << QByteArray(R"({"vpn": {"state": 5}})") << vpn << 0;
        QTest::newRow("no address while disabled")
            << QByteArray(R"({"adapters": {"LAN0": {"enabled": false}}})") << addresses(1) << 0;
        QTest::newRow("no address for an absent adapter")
            << QByteArray(R"({"adapters": {"LAN1": {}}})") << addresses(1) << 0;
        QTest::newRow("no address for no adapter") << QByteArray("{}") << addresses(8) << 0;
    }

    void readings()
    {
        QFETCH(QByteArray, state);
        QFETCH(Reading, read);
        const QByteArray err =
            captureStderr([&] { QVERIFY(PanelSimulator::loadStateJson(state.toStdString())); });
        QVERIFY2(err.isEmpty(), err);
        QTEST(read(panel()), "value");
    }

    void languageFollowsEditedFile_data()
    {
        // Another program rewrites {"language": 1, "brightness": 7} within the same time stamp, at the same
        // size: the content tells.
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("language");
        QTest::addColumn<QByteArray>("report");
        QTest::newRow("rewritten") << QByteArray(R"({"language": 1, "brightness": 8})") << 1 << QByteArray();
        QTest::newRow("not JSON") << QByteArray("{broken") << 0 << QByteArray("not valid JSON");
    }

    void languageFollowsEditedFile()
    {
        QFETCH(QByteArray, content);
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
        const timespec times[2] = {before.st_atim, before.st_mtim};
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
};

QTEST_GUILESS_MAIN(tst_SystemSet)
#include "tst_systemset.moc"
