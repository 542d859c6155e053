#include "AppRootItem.h"
#include "BeepSwitch.h"
#include "CIpInput.h"
#include "CardNetwork.h"
#include "ComboBox.h"
#include "Dialog.h"
#include "GlobalInfo.h"
#include "PanelSimulator.h"
#include "ScreenFixture.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTimer>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtQuick/private/qquickwindow_p.h>
#include <QtTest>

using HMI::PanelSimulator;
using QSP::AppRootItem;
using QSP::CardNetwork;

namespace {

/// Set in a child process: the panel state (JSON) to build the whole screen on, once.
constexpr char ChildStateVariable[] = "TST_NETPAGE_STATE";
constexpr char QuickCallbacks[] =
    R"({"delaysMs": {"dhcp": 0, "ping": 0, "scan": 0, "reset": 0, "connect": 0}})";
constexpr char AllAdapters[] = R"({"adapters": {"LAN0": {}, "LAN1": {}, "WIFI": {}, "4G": {}, "VPN": {}}})";

QJsonObject merged(QJsonObject base, const QJsonObject &patch)
{
    for (auto it = patch.begin(); it != patch.end(); ++it) {
        const QJsonValue old = base.value(it.key());
        base.insert(it.key(),
                    old.isObject() && it->isObject() ? merged(old.toObject(), it->toObject()) : *it);
    }
    return base;
}

/// Loads the panel's defaults (all five adapters, unless @p allAdapters is false) with quick callbacks and
/// @p patch on top.
bool loadState(const QByteArray &patch = "{}", bool allAdapters = true)
{
    QJsonObject state = QJsonDocument::fromJson(QuickCallbacks).object();
    if (allAdapters)
        state = merged(state, QJsonDocument::fromJson(AllAdapters).object());
    state = merged(state, QJsonDocument::fromJson(patch).object());
    return PanelSimulator::loadStateJson(QJsonDocument(state).toJson().toStdString());
}

/// The logged calls, without the buzzer's clicks.
QStringList logged()
{
    QStringList lines;
    for (const auto &line : PanelSimulator::callLog()) {
        if (line.rfind("beep", 0) != 0)
            lines << QString::fromStdString(line);
    }
    return lines;
}

/// Lets queued callbacks of the simulated panel arrive.
void settle()
{
    QVERIFY(PanelSimulator::waitForIdle(5000));
    QTest::qWait(30);
}

/// Literal lines, for comparing with logged() and visible texts.
QStringList texts(std::initializer_list<const char *> lines)
{
    QStringList result;
    for (const char *line : lines)
        result << QString::fromUtf8(line);
    return result;
}

QStringList nonEmpty(QStringList texts)
{
    texts.removeAll(QString());
    return texts;
}

template<typename T>
T *childOf(QQuickItem *row)
{
    for (QQuickItem *child : row ? row->childItems() : QList<QQuickItem *>()) {
        if (auto *found = qobject_cast<T *>(child))
            return found;
    }
    return nullptr;
}

/// The row that a label names (its parent item).
QQuickItem *rowOf(QQuickItem *under, const QString &label)
{
    QQuickItem *text = ScreenFixture::findText(under, label);
    return text ? text->parentItem() : nullptr;
}

} // namespace

/// The Network page as a person uses it: adapter buttons and rows, switches, address fields, the status
/// rows and their timers, the default adapter with its ping test and the DNS servers.
class tst_NetworkPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void firstSelection_data();
    void firstSelection();
    void childReport();
    void selectingAdapters();
    void switchRules_data();
    void switchRules();
    void addressEdits_data();
    void addressEdits();
    void statusRows_data();
    void statusRows();
    void vpnServerAndSwitch();
    void timersFollowSelection();
    void wifiSummary();
    void adapterCardAndPing();

private:
    bool isChild() const { return qEnvironmentVariableIsSet(ChildStateVariable); }
    bool select(const QString &adapter);
    /// Opens the screen again on the Network page, the panel loaded with @p patch (see loadState()).
    bool reopen(const QByteArray &patch = "{}")
    {
        const bool loaded = loadState(patch);
        m_f->close();
        m_f->open();
        return loaded && m_f->showPage(AppRootItem::MI_Network);
    }
    QQuickItem *row(const QString &label) const;
    /// The control of the row that @p label names, on the network card or under @p under.
    template<typename T>
    T *control(const QString &label, QQuickItem *under = nullptr) const
    {
        return childOf<T>(under ? rowOf(under, label) : row(label));
    }
    bool clickRowControl(const QString &label) { return m_f->clickButton(control<QSP::BeepSwitch>(label)); }
    /// The state shown in the "Connection Status" row of the 4G modem or the VPN.
    QQuickText *stateText() const
    {
        return qobject_cast<QQuickText *>(row(QStringLiteral("Connection Status"))->childItems().last());
    }
    QQuickItem *summaryButton() const
    {
        return m_card->findChild<QQuickItem *>(QStringLiteral("wifiSettingsButton"));
    }
    QString dnsShown() const;
    QList<int> runningTimers() const;

    std::unique_ptr<ScreenFixture> m_f;
    CardNetwork *m_card = nullptr;
};

void tst_NetworkPage::initTestCase()
{
    if (isChild())
        return;
    QVERIFY(loadState());
    m_f = std::make_unique<ScreenFixture>();
    QVERIFY(m_f->load(QSize(800, 1280)));
    m_f->window()->requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(m_f->window()));
    QVERIFY(m_f->showPage(AppRootItem::MI_Network));
    m_card = qobject_cast<CardNetwork *>(m_f->card(AppRootItem::Card_Network));
    QVERIFY(m_card);
}

void tst_NetworkPage::init()
{
    if (isChild() || !m_f)
        return;
    // Every case starts from the panel's state as the screen shows it on opening, LAN0 selected.
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
    QVERIFY(reopen());
    QVERIFY(select(QStringLiteral("LAN0")));
    settle();
    PanelSimulator::clearCallLog();
}

/// Presses the adapter's button and lets the rows take their places, as the next frame does.
bool tst_NetworkPage::select(const QString &adapter)
{
    QQuickItem *text =
        ScreenFixture::findText(m_card->property("nicButtonFlow").value<QQuickItem *>(), adapter);
    if (!text || !m_f->clickButton(text->parentItem()))
        return false;
    QQuickWindowPrivate *window = QQuickWindowPrivate::get(m_f->window());
    return QTest::qWaitFor([window] { return window->itemsToPolish.isEmpty(); });
}

/// A visible row of the network card (below its adapter buttons) that shows @p label.
QQuickItem *tst_NetworkPage::row(const QString &label) const
{
    const QList<QQuickItem *> rows = m_card->property("layout").value<QQuickItem *>()->childItems();
    for (QQuickItem *item : rows.mid(2)) {
        if (ScreenFixture::findText(item, label))
            return item;
    }
    return nullptr;
}

/// The DNS card's two servers and whether they can be typed in.
QString tst_NetworkPage::dnsShown() const
{
    QQuickItem *dns = m_f->card(AppRootItem::Card_DNS);
    auto *first = control<QSP::CIpInput>(QStringLiteral("DNS 1"), dns);
    auto *second = control<QSP::CIpInput>(QStringLiteral("DNS 2"), dns);
    if (!first || !second || first->isEnabled() != second->isEnabled())
        return QString();
    return first->ip() + QLatin1Char('/') + second->ip() +
           (first->isEnabled() ? QLatin1String(" editable") : QLatin1String(" locked"));
}

/// The intervals of the network card's running status timers (4G and Wi-Fi 2000 ms, VPN 3000 ms).
QList<int> tst_NetworkPage::runningTimers() const
{
    QList<int> intervals;
    for (const QTimer *timer : m_card->findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (timer->isActive())
            intervals << timer->interval();
    }
    return intervals;
}

// One panel per process: the adapter buttons are made once, from the panel's adapters.

void tst_NetworkPage::firstSelection_data()
{
    // What the page shows: buttons (the selected one starred) | rows | addresses | DHCP requests.
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<QString>("page");
    const auto page = [](const char *buttons, const QString &rows, const char *addresses, const char *calls) {
        return QStringList{QLatin1String(buttons), rows, QLatin1String(addresses), QLatin1String(calls)}.join(
            QLatin1Char('|'));
    };
    const QString wired =
        QStringLiteral("Disable Network,Static IP,IP Address,Subnet Mask,Default Gateway,MAC");
    const QString wifi =
        QString(wired).replace(QStringLiteral("Network,"), QStringLiteral("Network,Wi-Fi Settings %1,"));
    QTest::newRow("all adapters") << QByteArray("{}")
                                  << page("LAN0*,LAN1,Wi-Fi,4G,VPN", wired,
                                          "192.168.1.20/255.255.255.0/192.168.1.1 editable", "");
    QTest::newRow("LAN0 in DHCP") << QByteArray(R"({"adapters": {"LAN0": {"dhcp": true}}})")
                                  << page("LAN0*", wired, "192.168.1.120/255.255.255.0/192.168.1.1 locked",
                                          "setDHCP 1 1 1");
    QTest::newRow("LAN1 and Wi-Fi") << QByteArray(R"({"adapters": {"LAN1": {}, "WIFI": {}}})")
                                    << page("LAN1*,Wi-Fi", wired, "10.0.0.57/255.0.0.0/10.0.0.1 locked",
                                            "setDHCP 2 1 1");
    QTest::newRow("Wi-Fi connected") << QByteArray(R"({"adapters": {"WIFI": {}, "VPN": {}}})")
                                     << page("Wi-Fi*,VPN", wifi.arg(QStringLiteral("Online Plant-Floor")),
                                             "172.16.4.33/255.255.0.0/172.16.0.1 locked", "setDHCP 4 1 1");
    // 30 bytes and a three-byte character cut after its second byte: shown as the Wi-Fi page shows it.
    QTest::newRow("Wi-Fi name cut at 32 bytes")
        << QByteArray(
               R"({"adapters": {"WIFI": {}}, "wifi": {"connected": "0123456789abcdef0123456789abcd你"}})")
        << page("Wi-Fi*", wifi.arg(QStringLiteral("Online 0123456789abcdef0123456789abcd")),
                "172.16.4.33/255.255.0.0/172.16.0.1 locked", "setDHCP 4 1 1");
    QTest::newRow("Wi-Fi disconnected")
        << QByteArray(R"({"adapters": {"WIFI": {}}, "wifi": {"connected": null}})")
        << page("Wi-Fi*", wifi.arg(QStringLiteral("Offline")), "0.0.0.0/0.0.0.0/0.0.0.0 locked",
                "setDHCP 4 1 1");
    QTest::newRow("only 4G and VPN") << QByteArray(R"({"adapters": {"4G": {}, "VPN": {}}})")
                                     << page("4G,VPN", {}, "", "");
    QTest::newRow("none") << QByteArray(R"({"adapters": {}})") << page("", {}, "", "");
}

void tst_NetworkPage::firstSelection()
{
    QFETCH(QByteArray, state);
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QLatin1String(ChildStateVariable), QString::fromUtf8(state));
    child.setProcessEnvironment(env);
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("childReport")});
    QVERIFY(child.waitForFinished(60000));
    const QString output = QString::fromUtf8(child.readAllStandardOutput());
    QVERIFY2(child.exitCode() == 0, qPrintable(output));
    const int report = output.indexOf(QLatin1String("REPORT "));
    QVERIFY2(report >= 0, qPrintable(output));
    QTEST(output.mid(report + 7).section(QLatin1Char('\n'), 0, 0), "page");
}

void tst_NetworkPage::childReport()
{
    if (!isChild())
        QSKIP("runs in a child process, one per panel state");
    QVERIFY(loadState(qgetenv(ChildStateVariable), false));
    ScreenFixture f;
    QVERIFY(f.load(QSize(1024, 600)));
    QVERIFY(f.showPage(AppRootItem::MI_Network));
    settle();
    QQuickItem *card = f.card(AppRootItem::Card_Network);
    QVERIFY(card);

    QStringList buttons;
    for (QQuickItem *button : card->property("nicButtonFlow").value<QQuickItem *>()->childItems())
        buttons << ScreenFixture::visibleTexts(button).join(QString()) +
                       (button->property("checked").toBool() ? QStringLiteral("*") : QString());
    QStringList rows;
    for (QQuickItem *row : card->property("layout").value<QQuickItem *>()->childItems().mid(2)) {
        if (row->isVisible()) // a label, or the three texts of the Wi-Fi summary
            rows << nonEmpty(ScreenFixture::visibleTexts(row))
                        .mid(0, row->inherits("QSP::BeepButton") ? 3 : 1)
                        .join(QLatin1Char(' '));
    }
    QStringList addresses;
    QString editable;
    for (const char *label : {"IP Address", "Subnet Mask", "Default Gateway"}) {
        if (auto *input = childOf<QSP::CIpInput>(rowOf(card, QLatin1String(label)))) {
            addresses << input->ip();
            editable = input->isEnabled() ? QStringLiteral(" editable") : QStringLiteral(" locked");
        }
    }
    const QStringList page{buttons.join(QLatin1Char(',')), rows.join(QLatin1Char(',')),
                           addresses.join(QLatin1Char('/')) + editable,
                           logged().filter(QStringLiteral("DHCP")).join(QLatin1Char(';'))};
    std::printf("REPORT %s\n", qPrintable(page.join(QLatin1Char('|'))));
    std::fflush(stdout);
}

// One panel for the rest: all five adapters.

void tst_NetworkPage::selectingAdapters()
{
    QSignalSpy changed(m_card, &CardNetwork::currentNICChanged);
    QVERIFY(changed.isValid());
    const int inputs = m_card->findChildren<QSP::CIpInput *>().size();

    QVERIFY(select(QStringLiteral("LAN1")));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.first().at(0).value<HMI::SystemSet::NIC>(), HMI::SystemSet::NIC_LAN1);
    QCOMPARE(changed.first().at(1).value<HMI::SystemSet::NIC>(), HMI::SystemSet::NIC_LAN0);
    // LAN1 is in DHCP: shown for the first time, it asks for its address again and shows the lease; the DNS
    // card follows, read-only.
    QCOMPARE(logged(), texts({"setDHCP 2 1 1"}));
    auto *ip = control<QSP::CIpInput>(QStringLiteral("IP Address"));
    QVERIFY(ip && !ip->isEnabled());
    QTRY_COMPARE(ip->ip(), QStringLiteral("10.0.0.57"));
    QCOMPARE(dnsShown(), QStringLiteral("10.0.0.1/0.0.0.0 locked"));

    // The selected button again: nothing at all.
    QVERIFY(select(QStringLiteral("LAN1")));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(logged().size(), 1);

    // Back to the static LAN0: its rows were kept, and nothing is asked of the panel.
    QVERIFY(select(QStringLiteral("LAN0")));
    QCOMPARE(changed.count(), 2);
    QCOMPARE(m_card->findChildren<QSP::CIpInput *>().size(), inputs + 3);
    QCOMPARE(logged().size(), 1);
    QCOMPARE(control<QSP::CIpInput>(QStringLiteral("IP Address"))->ip(), QStringLiteral("192.168.1.20"));
    QCOMPARE(dnsShown(), QStringLiteral("192.168.1.1/8.8.8.8 editable"));
}

void tst_NetworkPage::switchRules_data()
{
    QTest::addColumn<QString>("adapter");
    QTest::addColumn<QStringList>("switches");
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<bool>("editable");
    QTest::addColumn<bool>("staticChangeable");
    QTest::addColumn<bool>("dhcpLater"); // a second after switching back on

    const QString off = QStringLiteral("Disable Network");
    const QString stat = QStringLiteral("Static IP");
    QTest::newRow("LAN0 off") << "LAN0" << QStringList{off} << texts({"enableNIC 1 0 1"}) << false << false
                              << false;
    QTest::newRow("LAN0 off and on, static")
        << "LAN0" << QStringList{off, off} << texts({"enableNIC 1 0 1", "enableNIC 1 1 1"}) << true << true
        << false;
    QTest::newRow("LAN0 to DHCP") << "LAN0" << QStringList{stat} << texts({"setDHCP 1 1 1"}) << false << true
                                  << false;
    QTest::newRow("LAN1 off and on, DHCP")
        << "LAN1" << QStringList{off, off} << texts({"enableNIC 2 0 1", "enableNIC 2 1 1"}) << false << true
        << true;
    QTest::newRow("LAN1 to static") << "LAN1" << QStringList{stat} << texts({"setDHCP 2 0 1"}) << true << true
                                    << false;
}

void tst_NetworkPage::switchRules()
{
    QFETCH(QString, adapter);
    QFETCH(QStringList, switches);
    QVERIFY(select(adapter));
    settle();
    PanelSimulator::clearCallLog();
    QElapsedTimer clock;
    clock.start();
    for (const QString &label : switches)
        QVERIFY(clickRowControl(label));

    // The fields follow the switches at once, before the panel has answered.
    QFETCH(bool, editable);
    for (const char *label : {"IP Address", "Subnet Mask", "Default Gateway"})
        QCOMPARE(control<QSP::CIpInput>(QLatin1String(label))->isEnabled(), editable);
    QVERIFY(dnsShown().endsWith(editable ? QLatin1String("editable") : QLatin1String("locked")));
    QTEST(control<QSP::BeepSwitch>(QStringLiteral("Static IP"))->isEnabled(), "staticChangeable");
    QTEST(logged(), "calls");

    // Switched back on, a DHCP adapter asks for an address one second later; a static one does not.
    QFETCH(bool, dhcpLater);
    if (switches.size() < 2)
        return;
    QTest::qWait(800);
    QCOMPARE(logged().filter(QStringLiteral("setDHCP")).size(), 0);
    QTest::qWait(dhcpLater ? 0 : 400);
    QTRY_COMPARE(logged().filter(QStringLiteral("setDHCP")).size(), dhcpLater ? 1 : 0);
    QVERIFY(clock.elapsed() >= 950);
}

void tst_NetworkPage::addressEdits_data()
{
    QTest::addColumn<QString>("label");
    QTest::addColumn<int>("field");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<int>("key"); // that ends the editing

    const int done = Qt::Key_Return;
    QTest::newRow("IP address") << "IP Address" << 3 << "50" << texts({"setIp 1 192.168.1.50 1"}) << done;
    QTest::newRow("subnet mask") << "Subnet Mask" << 2 << "0" << texts({"setSubnetMask 1 255.255.0.0 1"})
                                 << done;
    QTest::newRow("gateway") << "Default Gateway" << 0 << "10" << texts({"setGateway 1 10.168.1.1 1"})
                             << done;
    QTest::newRow("same number") << "IP Address" << 0 << "192" << QStringList{} << done;
    QTest::newRow("DNS 1 writes both")
        << "DNS 1" << 0 << "10" << texts({"setDns 1 10.168.1.1 8.8.8.8"}) << done;
    QTest::newRow("DNS 2 writes both")
        << "DNS 2" << 3 << "4" << texts({"setDns 1 192.168.1.1 8.8.8.4"}) << done;
    // Addresses typed as people type them, with their dots, or pasted whole.
    QTest::newRow("dots move on") << "IP Address" << 0 << "10.0.0.5" << texts({"setIp 1 10.0.0.5 1"}) << done;
    QTest::newRow("dot in an empty field")
        << "Subnet Mask" << 2 << "\b.7" << texts({"setSubnetMask 1 255.255.7.0 1"}) << done;
    QTest::newRow("paste") << "Default Gateway" << 1 << "\x16" << texts({"setGateway 1 172.16.0.254 1"})
                           << done;
    QTest::newRow("cancelled mid-edit") << "IP Address" << 3 << "77" << QStringList{} << int(Qt::Key_Escape);
    QTest::newRow("cancelled DNS") << "DNS 1" << 0 << "10" << QStringList{} << int(Qt::Key_Escape);
}

void tst_NetworkPage::addressEdits()
{
    QFETCH(QString, label);
    QFETCH(int, field);
    QFETCH(QString, typed);
    QQuickItem *under = label.startsWith(QLatin1String("DNS")) ? m_f->card(AppRootItem::Card_DNS) : m_card;
    auto *input = control<QSP::CIpInput>(label, under);
    QVERIFY(input && input->isEnabled());
    auto *box =
        input->property(QByteArray("ipi" + QByteArray::number(field)).constData()).value<QQuickTextInput *>();
    QVERIFY(m_f->click(box));
    QVERIFY(input->editing());
    QGuiApplication::clipboard()->setText(QStringLiteral(" 172.16.0.254\n"));
    for (const QChar c : typed) {
        if (c == QLatin1Char('\x16'))
            QTest::keyClick(m_f->window(), Qt::Key_V, Qt::ControlModifier);
        else if (c == QLatin1Char('\b'))
            QTest::keyClick(m_f->window(), Qt::Key_Backspace);
        else
            QTest::keyClick(m_f->window(), c.toLatin1());
    }
    // A refresh (reopening, an address update) while the user types leaves the field alone.
    QMetaObject::invokeMethod(m_card, "updateNetInfoDisplay", Q_ARG(int, 1));
    QMetaObject::invokeMethod(m_f->root(), "opened");
    if (typed.toInt() > 0)
        QCOMPARE(box->text(), typed);
    QVERIFY(input->editing());
    settle();
    PanelSimulator::clearCallLog();

    QFETCH(int, key);
    QTest::keyClick(m_f->window(), Qt::Key(key));
    QVERIFY(!input->editing());
    QTEST(logged(), "calls");
}

void tst_NetworkPage::statusRows_data()
{
    // For 4G: the modem's signal and state; for the VPN: whether it is on and the tunnel's state.
    QTest::addColumn<QString>("adapter");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("icon");
    QTest::addColumn<QString>("status");
    QTest::addColumn<int>("colour");
    QTest::newRow("4G no signal") << "4G" << 0 << 0 << 0 << "Not connected" << 0x1D2129;
    QTest::newRow("4G negative") << "4G" << -4 << 0 << 0 << "Not connected" << 0x1D2129;
    QTest::newRow("4G 20") << "4G" << 20 << 1 << 1 << "Connecting..." << 0x1D2129;
    QTest::newRow("4G 21") << "4G" << 21 << 2 << 2 << "Connection successful" << 0x1D2129;
    QTest::newRow("4G 100") << "4G" << 100 << 2 << 5 << "Connection successful" << 0x1D2129;
    QTest::newRow("4G 101 keeps the icon") << "4G" << 101 << 9 << 3 << "Unknown" << 0x1D2129;
    QTest::newRow("VPN 0") << "VPN" << 1 << 0 << -1 << "Not connected" << 0x1D2129;
    QTest::newRow("VPN 1") << "VPN" << 1 << 1 << -1 << "Connecting..." << 0x1D2129;
    QTest::newRow("VPN 2") << "VPN" << 1 << 2 << -1 << "HMI not authorized" << 0xFF4D4F;
    QTest::newRow("VPN 3") << "VPN" << 1 << 3 << -1 << "SSL Error" << 0xFF4D4F;
    QTest::newRow("VPN 4") << "VPN" << 1 << 4 << -1 << "Certificate Error" << 0xFF4D4F;
    QTest::newRow("VPN 5") << "VPN" << 1 << 5 << -1 << "VPN connected" << 0x00BC79;
    QTest::newRow("VPN 6") << "VPN" << 1 << 6 << -1 << "Unknown Status" << 0xFF4D4F;
    QTest::newRow("VPN switched off") << "VPN" << 0 << 5 << -1 << "Not connected" << 0x1D2129;
}

void tst_NetworkPage::statusRows()
{
    QFETCH(QString, adapter);
    QFETCH(int, value);
    QFETCH(int, state);
    QVERIFY(loadState(R"({"modem": {"signal": 50, "state": 2}})"));
    QVERIFY(select(adapter));
    const bool modem = adapter == QLatin1String("4G");
    const QString panel =
        modem ? QStringLiteral(R"({"modem": {"signal": %1, "state": %2}})")
              : QStringLiteral(R"({"adapters": {"VPN": {"enabled": %1}}, "vpn": {"state": %2}})");
    QVERIFY(loadState(panel.arg(modem ? QString::number(value) : QLatin1String(value ? "true" : "false"))
                          .arg(state)
                          .toUtf8()));
    QVERIFY(QMetaObject::invokeMethod(m_card, modem ? "update4GSignal" : "updateVPNStatus"));
    QFETCH(int, icon);
    if (modem)
        QCOMPARE(control<QQuickImage>(QStringLiteral("Signal"))->source().toString(),
                 QStringLiteral("qrc:/setting/icons/singal4G_%1.png").arg(icon));
    QTEST(stateText()->text(), "status");
    QTEST(int(stateText()->color().rgb() & 0xFFFFFF), "colour");
    QVERIFY(logged().isEmpty());
}

void tst_NetworkPage::vpnServerAndSwitch()
{
    // The adapter and DNS cards do not stand beside the VPN.
    QVERIFY(select(QStringLiteral("VPN")));
    QVERIFY(!m_f->card(AppRootItem::Card_NIC)->isVisible() && !m_f->card(AppRootItem::Card_DNS)->isVisible());
    auto *server = control<QSP::ComboBox>(QStringLiteral("Server"));
    QVERIFY(server && server->isEnabled());
    QCOMPARE(server->currentIndex(), 0);

    server->setCurrentIndex(1); // what picking "Europe" in its list does
    QCOMPARE(logged(), texts({"setVPNServer 1", "resetVPNIp 1"}));
    PanelSimulator::clearCallLog();

    // A new language renames the servers and keeps the choice, writing nothing.
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::Chinese, QLocale::China));
    QCOMPARE(server->model().toList().value(0).toMap().value(QStringLiteral("name")).toString(),
             QStringLiteral("亚洲服务器"));
    QCOMPARE(server->currentIndex(), 1);
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
    QCOMPARE(logged().filter(QStringLiteral("VPN")), QStringList());
    PanelSimulator::clearCallLog();

    QVERIFY(clickRowControl(QStringLiteral("VPN")));
    QCOMPARE(logged(), texts({"enableNIC 64 1 1"}));
    QVERIFY(!server->isEnabled());
    QVERIFY(clickRowControl(QStringLiteral("VPN")));
    QCOMPARE(logged(), texts({"enableNIC 64 1 1", "resetVPNIp 1", "enableNIC 64 0 1"}));
    QVERIFY(server->isEnabled());

    // Leaving the VPN brings the adapter and DNS cards back.
    QVERIFY(select(QStringLiteral("LAN1")));
    QVERIFY(m_f->card(AppRootItem::Card_NIC)->isVisible());
    QVERIFY(m_f->card(AppRootItem::Card_DNS)->isVisible());
}

void tst_NetworkPage::timersFollowSelection()
{
    // 4G selected and on: its rows follow the modem every two seconds; left, it is no longer asked.
    QCOMPARE(runningTimers(), QList<int>());
    QVERIFY(select(QStringLiteral("4G")));
    QCOMPARE(runningTimers(), QList<int>{2000});
    // The adapter and DNS cards stand beside the modem; its DNS servers cannot be typed.
    QVERIFY(m_f->card(AppRootItem::Card_NIC)->isVisible());
    QCOMPARE(dnsShown(), QStringLiteral("0.0.0.0/0.0.0.0 locked"));
    QQuickText *modem = stateText();
    auto *icon = control<QQuickImage>(QStringLiteral("Signal"));
    QCOMPARE(modem->text(), QStringLiteral("Connection successful"));
    QVERIFY(loadState(R"({"modem": {"signal": 10, "state": 1}})"));
    QTRY_COMPARE_WITH_TIMEOUT(modem->text(), QStringLiteral("Connecting..."), 3000);
    QCOMPARE(icon->source().toString(), QStringLiteral("qrc:/setting/icons/singal4G_1.png"));
    QVERIFY(select(QStringLiteral("LAN0")));
    QCOMPARE(runningTimers(), QList<int>());

    // Switched off: "Not connected" with no signal, and no polling, also after coming back.
    QVERIFY(loadState(R"({"modem": {"signal": 90, "state": 2}})"));
    QVERIFY(select(QStringLiteral("4G")));
    QCOMPARE(modem->text(), QStringLiteral("Connection successful"));
    QVERIFY(clickRowControl(QStringLiteral("4G")));
    QCOMPARE(logged(), texts({"enableNIC 16 0 1"}));
    QCOMPARE(runningTimers(), QList<int>());
    QVERIFY(select(QStringLiteral("LAN0")));
    QVERIFY(select(QStringLiteral("4G")));
    QCOMPARE(runningTimers(), QList<int>());
    QCOMPARE(modem->text(), QStringLiteral("Not connected"));
    QCOMPARE(icon->source().toString(), QStringLiteral("qrc:/setting/icons/singal4G_0.png"));
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::Chinese, QLocale::China));
    QCOMPARE(modem->text(), QStringLiteral("未连接"));
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));

    // The VPN is polled every three seconds while selected, even with its switch off.
    QVERIFY(loadState(R"({"vpn": {"state": 5}})"));
    QVERIFY(select(QStringLiteral("VPN")));
    QCOMPARE(runningTimers(), QList<int>{3000});
    QQuickText *vpn = stateText();
    QCOMPARE(vpn->text(), QStringLiteral("Not connected"));
    QVERIFY(loadState(R"({"adapters": {"VPN": {"enabled": true}}, "vpn": {"state": 5}})"));
    QTRY_COMPARE_WITH_TIMEOUT(vpn->text(), QStringLiteral("VPN connected"), 4000);
    QVERIFY(select(QStringLiteral("LAN0")));
    QCOMPARE(runningTimers(), QList<int>());

    // Wi-Fi, switched on, is polled every two seconds while selected (see wifiSummary).
    QVERIFY(select(QStringLiteral("Wi-Fi")));
    QCOMPARE(runningTimers(), QList<int>{2000});
    QVERIFY(select(QStringLiteral("LAN0")));
    QCOMPARE(runningTimers(), QList<int>());

    // A closed screen polls nothing, whatever is selected; opening it starts the poll again.
    QVERIFY(loadState(R"({"adapters": {"VPN": {"enabled": true}}})"));
    for (const auto &[adapter, interval] : {std::pair{"4G", 2000}, {"VPN", 3000}, {"Wi-Fi", 2000}}) {
        QVERIFY(select(QLatin1String(adapter)));
        m_f->close();
        QMetaObject::invokeMethod(m_card, "updateWifiStatus"); // a report from the Wi-Fi card meanwhile
        QCOMPARE(runningTimers(), QList<int>());
        m_f->open();
        QVERIFY(m_f->showPage(AppRootItem::MI_Network));
        QCOMPARE(runningTimers(), QList<int>{interval});
    }
}

void tst_NetworkPage::wifiSummary()
{
    // Opened with Wi-Fi switched off: the summary cannot be pressed, shows no arrow and is not polled.
    QVERIFY(reopen(R"({"adapters": {"WIFI": {"enabled": false}}})"));
    QSignalSpy status(m_card, &CardNetwork::wifiStatusChanged);
    QVERIFY(status.isValid());
    QVERIFY(select(QStringLiteral("Wi-Fi")));
    QQuickItem *summary = summaryButton();
    QQuickItem *arrow = summary->findChildren<QQuickImage *>().last();
    const auto shown = [summary] { return nonEmpty(ScreenFixture::visibleTexts(summary)).mid(1); };
    QCOMPARE(shown(), texts({"Offline"}));
    QVERIFY(!summary->isEnabled() && !arrow->isVisible());
    QCOMPARE(runningTimers(), QList<int>());
    QCOMPARE(status.count(), 0);
    settle();
    PanelSimulator::clearCallLog();

    // Switched on: the connection shows and is polled.
    QVERIFY(clickRowControl(QStringLiteral("Disable Network")));
    QVERIFY(summary->isEnabled() && arrow->isVisible());
    QCOMPARE(runningTimers(), QList<int>{2000});
    QCOMPARE(shown(), texts({"Online", "Plant-Floor"}));
    QCOMPARE(status.last(), (QVariantList{true, QStringLiteral("Plant-Floor")}));

    // While the Wi-Fi card connects the summary keeps what it showed; released, it follows at once.
    QVERIFY(QMetaObject::invokeMethod(m_card, "setWifiConnecting", Q_ARG(bool, true)));
    QVERIFY(loadState(R"({"wifi": {"connected": null}})"));
    QVERIFY(QMetaObject::invokeMethod(m_card, "updateWifiStatus")); // as the poll does
    QCOMPARE(shown(), texts({"Online", "Plant-Floor"}));
    QVERIFY(QMetaObject::invokeMethod(m_card, "setWifiConnecting", Q_ARG(bool, false)));
    QCOMPARE(shown(), texts({"Offline"}));
    QCOMPARE(status.last(), (QVariantList{false, QString()}));
    // The addresses obtained from that network are gone with it.
    QCOMPARE(control<QSP::CIpInput>(QStringLiteral("IP Address"))->ip(), QString());

    // The poll shows a new connection within two seconds, and DHCP is asked a second after switching on.
    QVERIFY(loadState());
    QTRY_COMPARE_WITH_TIMEOUT(shown(), texts({"Online", "Plant-Floor"}), 3000);
    QTRY_COMPARE(logged(), texts({"enableNIC 4 1 1", "setDHCP 4 1 1"}));
    // The summary leads to the Wi-Fi page.
    QVERIFY(m_f->clickButton(summary));
    QCOMPARE(m_f->root()->currentPage(), AppRootItem::MI_Wifi);
}

void tst_NetworkPage::adapterCardAndPing()
{
    QVERIFY(reopen(R"({"adapters": {"VPN": {"enabled": true}}})"));
    QQuickItem *card = m_f->card(AppRootItem::Card_NIC);
    auto *combo = control<QSP::ComboBox>(QStringLiteral("Ethernet"), card);
    QVERIFY(combo);
    const auto names = [combo] {
        QStringList list;
        for (const QVariant &row : combo->model().toList())
            list << row.toMap().value(QStringLiteral("name")).toString();
        return list;
    };
    // The VPN is never offered.
    QCOMPARE(names(), texts({"LAN0", "LAN1", "Wi-Fi", "4G"}));
    QCOMPARE(combo->currentIndex(), 0);
    PanelSimulator::clearCallLog();

    // The default adapter switched off leaves the list, and nothing is selected.
    QVERIFY(clickRowControl(QStringLiteral("Disable Network")));
    QCOMPARE(names(), texts({"LAN1", "Wi-Fi", "4G"}));
    QCOMPARE(combo->currentIndex(), -1);
    QVERIFY(clickRowControl(QStringLiteral("Disable Network")));
    QCOMPARE(names(), texts({"LAN0", "LAN1", "Wi-Fi", "4G"}));
    QCOMPARE(combo->currentIndex(), 0);
    PanelSimulator::clearCallLog();
    combo->setCurrentIndex(2); // picking "Wi-Fi"
    QCOMPARE(logged(), texts({"setDefaultNIC 4 0"}));
    PanelSimulator::clearCallLog();

    // Two quick presses, the panel answering yes and then no, both slow enough to come before any result.
    const auto resultDialogs = [this] {
        QStringList messages;
        for (QSP::Dialog *dialog : m_f->root()->findChildren<QSP::Dialog *>()) {
            if (dialog->title() == QLatin1String("Test Result") && dialog->isOpened())
                messages << ScreenFixture::visibleTexts(dialog->bodyItem()).value(0);
        }
        messages.sort();
        return messages;
    };
    auto *test = card->findChild<QQuickItem *>(QStringLiteral("testButton"));
    QElapsedTimer clock;
    clock.start();
    for (const char *ping :
         {R"({"ping": true, "delaysMs": {"ping": 300}})", R"({"ping": false, "delaysMs": {"ping": 300}})"}) {
        QVERIFY(loadState(ping));
        QVERIFY(m_f->clickButton(test));
    }
    QCOMPARE(logged(), texts({"pingTest 4", "pingTest 4"})); // through the adapter chosen above
    QCOMPARE(resultDialogs(), QStringList());                // nothing while the test runs
    // Each result in a dialog of its own, which closes itself three seconds after it opened.
    QTRY_COMPARE(resultDialogs(), texts({"Test failed!", "Test successful!"}));
    QTest::qWait(2800 - int(clock.elapsed()));
    QCOMPARE(resultDialogs().size(), 2);
    QTRY_COMPARE_WITH_TIMEOUT(resultDialogs(), QStringList(), 2000);
    QVERIFY(clock.elapsed() >= 3200);

    // A closed result is freed, also one that a tap beside it closed before its time.
    const auto allResults = [this] {
        int count = 0;
        for (QSP::Dialog *dialog : m_f->root()->findChildren<QSP::Dialog *>())
            count += dialog->title() == QLatin1String("Test Result");
        return count;
    };
    QTRY_COMPARE(allResults(), 0);
    QVERIFY(loadState(R"({"ping": true, "delaysMs": {"ping": 10}})"));
    QVERIFY(m_f->clickButton(test));
    QTRY_COMPARE(resultDialogs(), texts({"Test successful!"}));
    QTest::mouseClick(m_f->window(), Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    QTRY_COMPARE(allResults(), 0);
}

QTEST_MAIN(tst_NetworkPage)
#include "tst_networkpage.moc"
