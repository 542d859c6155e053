// The Linux backend against the real services' D-Bus interfaces, played by python3-dbusmock on a private
// bus: what it sends to timedated, logind and hostnamed, the backlight and beeper it drives, the settings
// file it shares with other programs.

#include "SystemSet.h"

#include "BoardFiles.h"
#include "DbusMock.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <linux/input.h>

#include <atomic>
#include <memory>

namespace {

const QString timedated = QStringLiteral("org.freedesktop.timedate1");
const QString logind = QStringLiteral("org.freedesktop.login1");
const QString hostnamed = QStringLiteral("org.freedesktop.hostname1");

} // namespace

class tst_LinuxBackend : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void clock_data();
    void clock();
    void backlight_data();
    void backlight();
    void beeper();
    void serialNumber_data();
    void serialNumber();
    void settingsFile();
    void rebootAndPing();
    void noServices();

private:
    QString root(const QString &path = QString()) const
    {
        return m_tmp.path() + QStringLiteral("/root") + path;
    }
    /// A new backend, as the screen's process makes it at first use.
    std::unique_ptr<HMI::SystemSet> board() const { return std::make_unique<HMI::SystemSet>(); }
    bool setNtp(bool on)
    {
        QDBusMessage set = QDBusMessage::createMethodCall(
            timedated, QStringLiteral("/org/freedesktop/timedate1"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Set"));
        set.setArguments({timedated, QStringLiteral("NTP"), QVariant::fromValue(QDBusVariant(on))});
        return m_mock.bus().call(set).type() == QDBusMessage::ReplyMessage;
    }

    QTemporaryDir m_tmp;
    DbusMock m_mock;
};

void tst_LinuxBackend::initTestCase()
{
    QString why;
    if (!m_mock.start(&why))
        QSKIP(qPrintable(QStringLiteral("no private D-Bus here, the Linux backend is not tested: ") + why));
    QVERIFY(m_mock.startSystemServices(QStringLiteral("SN-HOST-0042"), QStringLiteral("LANG=zh_CN.UTF-8")));
    qputenv("QSP_PANEL", "linux");
    qputenv("QSP_SYSFS_ROOT", root().toUtf8());
    qputenv("QSP_BEEPER", root(QStringLiteral("/beeper")).toUtf8());
    qputenv("QSP_SETTINGS", root(QStringLiteral("/settings.json")).toUtf8());
    qputenv("QSP_PING_TARGET", "127.0.0.1");
}

void tst_LinuxBackend::init()
{
    QDir(root()).removeRecursively();
    QVERIFY(QDir().mkpath(root()));
    for (const QString &service : {timedated, logind, hostnamed})
        m_mock.forget(service);
}

void tst_LinuxBackend::clock_data()
{
    QTest::addColumn<bool>("ntp");
    QTest::addColumn<QStringList>("sent");
    // 2030-05-17 08:09:10 UTC, in microseconds as timedated takes it.
    QTest::newRow("time sync off") << false
                                   << QStringList{QStringLiteral("SetTime 1905408550000000 False False")};
    QTest::newRow("time sync on: turned off first")
        << true
        << QStringList{QStringLiteral("SetNTP False False"),
                       QStringLiteral("SetTime 1905408550000000 False False")};
}

void tst_LinuxBackend::clock()
{
    QFETCH(bool, ntp);
    QVERIFY(setNtp(ntp));
    auto system = board();
    QVERIFY(system->setSystemTime(1905408550));
    system->syncHwclock();
    QFETCH(QStringList, sent);
    QTRY_COMPARE(m_mock.calls(timedated), sent);
}

void tst_LinuxBackend::backlight_data()
{
    QTest::addColumn<int>("max");
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("writable");
    QTest::addColumn<QString>("raw"); // in the sysfs file, or sent to logind
    QTest::newRow("top") << 100 << 32 << true << QStringLiteral("100");
    QTest::newRow("bottom is still lit") << 100 << 1 << true << QStringLiteral("1");
    QTest::newRow("middle of 255") << 255 << 16 << true << QStringLiteral("124");
    QTest::newRow("below range") << 255 << -3 << true << QStringLiteral("1");
    QTest::newRow("refused: through logind") << 255 << 16 << false << QStringLiteral("124");
}

void tst_LinuxBackend::backlight()
{
    QFETCH(int, max);
    QFETCH(int, level);
    QFETCH(bool, writable);
    QFETCH(QString, raw);
    const QString device = root(QStringLiteral("/sys/class/backlight/acpi_video0"));
    QVERIFY(writeFile(device + QStringLiteral("/max_brightness"), QByteArray::number(max) + '\n'));
    QVERIFY(writeFile(device + QStringLiteral("/brightness"), QByteArray::number(max / 2) + '\n'));
    auto system = board();
    // Read back as a level: half of the range is the middle level.
    QVERIFY2(qAbs(system->bright() - 16) <= 1, qPrintable(QString::number(system->bright())));
    if (!writable) // a device that takes no writes, whoever writes (root too)
        QVERIFY(QFile::remove(device + QStringLiteral("/brightness")) &&
                QFile::link(QStringLiteral("/dev/full"), device + QStringLiteral("/brightness")));

    system->setBright(level, true);
    if (writable) {
        QTRY_COMPARE(readFile(device + QStringLiteral("/brightness")).trimmed(), raw.toUtf8());
        QCOMPARE(system->bright(), qBound(1, level, 32));
        QVERIFY(m_mock.calls(logind).isEmpty());
    } else {
        QTRY_COMPARE(m_mock.calls(logind),
                     QStringList(QStringLiteral("SetBrightness \"backlight\" \"acpi_video0\" ") + raw));
    }
    // Kept for the next start.
    QCOMPARE(QJsonDocument::fromJson(
                 readFile(root(QStringLiteral("/settings.json"))))[QStringLiteral("brightness")]
                 .toInt(),
             qBound(1, level, 32));
}

void tst_LinuxBackend::beeper()
{
    QVERIFY(writeFile(root(QStringLiteral("/beeper")), QByteArray()));
    auto system = board();
    QElapsedTimer clock;
    clock.start();
    system->beep(true);
    // A 2 kHz tone and, 50 ms later, silence: each an event and its report.
    QTRY_COMPARE(readFile(root(QStringLiteral("/beeper"))).size(), qsizetype(4 * sizeof(input_event)));
    const QByteArray bytes = readFile(root(QStringLiteral("/beeper")));
    const auto *events = reinterpret_cast<const input_event *>(bytes.constData());
    const auto at = [&](int i) {
        return qint64(events[i].input_event_sec) * 1000 + events[i].input_event_usec / 1000;
    };
    QCOMPARE((QList<int>{events[0].type, events[0].code, events[0].value}),
             (QList<int>{EV_SND, SND_TONE, 2000}));
    QCOMPARE((QList<int>{events[1].type, events[2].type, events[2].code, events[2].value, events[3].type}),
             (QList<int>{EV_SYN, EV_SND, SND_TONE, 0, EV_SYN}));
    QVERIFY2(at(2) - at(0) >= 45, qPrintable(QString::number(at(2) - at(0))));
}

void tst_LinuxBackend::serialNumber_data()
{
    QTest::addColumn<bool>("hostnamed");
    QTest::addColumn<QByteArray>("deviceTree"); // empty: no file
    QTest::addColumn<QString>("serial");
    QTest::newRow("hostnamed first") << true << QByteArray("DT-7\0", 5) << QStringLiteral("SN-HOST-0042");
    QTest::newRow("device tree without hostnamed")
        << false << QByteArray("DT-7\0", 5) << QStringLiteral("DT-7");
    QTest::newRow("processor last") << false << QByteArray() << QStringLiteral("00000000c0ffee42");
}

void tst_LinuxBackend::serialNumber()
{
    QFETCH(bool, hostnamed);
    QFETCH(QByteArray, deviceTree);
    QFETCH(QString, serial);
    QVERIFY(
        writeFile(root(QStringLiteral("/proc/cpuinfo")), "processor\t: 0\nSerial\t\t: 00000000c0ffee42\n"));
    if (!deviceTree.isEmpty())
        QVERIFY(writeFile(root(QStringLiteral("/sys/firmware/devicetree/base/serial-number")), deviceTree));
    const QString code = hostnamed ? QStringLiteral("ret = 'SN-HOST-0042'")
                                   : QStringLiteral("raise dbus.exceptions.DBusException('no serial', "
                                                    "name='org.freedesktop.hostname1.NoHardwareSerial')");
    QVERIFY(m_mock.mock(
        ::hostnamed, QStringLiteral("/org/freedesktop/hostname1"), QStringLiteral("AddMethod"),
        {::hostnamed, QStringLiteral("GetHardwareSerial"), QString(), QStringLiteral("s"), code}));
    auto system = board();
    QTRY_COMPARE(QString::fromStdString(system->getSerialNumber()), serial);
}

void tst_LinuxBackend::settingsFile()
{
    const QString path = root(QStringLiteral("/settings.json"));
    QVERIFY(writeFile(path, R"({"theme": "dark"})"));
    auto system = board();
    // No language in the file: localed's locale (Chinese) counts.
    QTRY_COMPARE(system->getLanguage(), HMI::SystemSet::LANG_CHINESE);
    QVERIFY(system->isBuzzerOn());

    system->setLanguage(HMI::SystemSet::LANG_ENGLISH);
    system->setBuzzerOn(false);
    system->setVPNServer(HMI::SystemSet::VPN_EUROPE);
    const QJsonObject written = QJsonDocument::fromJson(readFile(path)).object();
    QCOMPARE(written, (QJsonObject{{QStringLiteral("theme"), QStringLiteral("dark")},
                                   {QStringLiteral("language"), QStringLiteral("en")},
                                   {QStringLiteral("buzzer"), false},
                                   {QStringLiteral("vpnServer"), 1}}));
    QVERIFY(!system->isBuzzerOn() && system->getVPNServer() == HMI::SystemSet::VPN_EUROPE);

    // Another program switches the language, in the same second as the last write.
    QJsonObject outside = written;
    outside.insert(QStringLiteral("language"), QStringLiteral("zh"));
    QVERIFY(writeFile(path, QJsonDocument(outside).toJson()));
    QCOMPARE(system->getLanguage(), HMI::SystemSet::LANG_CHINESE);

    // A file that is no longer JSON is left alone; the change is kept in memory.
    QVERIFY(writeFile(path, "{ broken"));
    system->setBuzzerOn(true);
    QCOMPARE(readFile(path), QByteArray("{ broken"));
    QVERIFY(system->isBuzzerOn());
}

void tst_LinuxBackend::rebootAndPing()
{
    auto system = board();
    system->reboot();
    QTRY_COMPARE(m_mock.calls(logind), QStringList(QStringLiteral("Reboot False")));

    // The loopback address answers; without a target (no gateway yet) there is nobody to ask.
    for (const auto &[target, expected] : {std::pair{"127.0.0.1", true}, std::pair{"", false}}) {
        qputenv("QSP_PING_TARGET", target);
        auto pinging = board();
        std::atomic<int> calls{0};
        std::atomic<bool> replied{!expected};
        pinging->pingTest(HMI::SystemSet::NIC_LAN0, [&](bool ok) {
            replied = ok;
            ++calls;
        });
        QTRY_COMPARE_WITH_TIMEOUT(calls.load(), 1, 5000);
        QCOMPARE(replied.load(), expected);
    }
    qputenv("QSP_PING_TARGET", "127.0.0.1");
}

void tst_LinuxBackend::noServices()
{
    // No bus at all: everything answers at once, callbacks still come, nothing crashes.
    const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + root(QStringLiteral("/no-bus")).toUtf8());
    auto system = board();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
    std::atomic<int> outcomes{0};
    system->setDHCP(
        HMI::SystemSet::NIC_LAN0, true,
        [&](HMI::SystemSet::DHCP_STATE s) { outcomes += s == HMI::SystemSet::DHCP_FAILED; }, false);
    system->scanWifi([&](std::unique_ptr<std::vector<HMI::SystemSet::SsidInfo>> list) {
        outcomes += list && list->empty();
    });
    system->reboot();
    QVERIFY(system->setSystemTime(1905408550));
    QCOMPARE(system->getAllNIC(), 0);
    QCOMPARE(system->getLanguage(), HMI::SystemSet::LANG_ENGLISH);
    QCOMPARE(system->getSerialNumber(), std::string());
    QTRY_COMPARE(outcomes.load(), 2);
}

QTEST_GUILESS_MAIN(tst_LinuxBackend)
#include "tst_linuxbackend.moc"
