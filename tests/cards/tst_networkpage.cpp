#include "AppRootItem.h"
#include "BeepSwitch.h"
#include "CIpInput.h"
#include "CardNetwork.h"
#include "CardWifi.h"
#include "ComboBox.h"
#include "Dialog.h"
#include "GlobalInfo.h"
#include "PanelSimulator.h"
#include "ScreenFixture.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QTimer>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtQuick/private/qquickwindow_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtTest>

using HMI::PanelSimulator;
using QSP::AppRootItem;
using QSP::CardNetwork;
using QSP::CIpInput;

namespace {

QString operator""_s(const char *text, std::size_t size)
{
    return QString::fromUtf8(text, int(size));
}

constexpr char Quick[] = R"({"delaysMs": {"dhcp": 0, "ping": 0, "scan": 0, "reset": 0, "connect": 0}})";
constexpr char AllAdapters[] = R"({"adapters": {"LAN0": {}, "LAN1": {}, "WIFI": {}, "4G": {}, "VPN": {}}})";
constexpr char StaticWifi[] = R"({"adapters": {"WIFI": {"dhcp": false, "static":
    {"ip": "192.168.5.9", "mask": "255.255.255.0", "gateway": "192.168.5.1"}}}})";

QJsonObject merged(QJsonObject base, const QJsonObject &patch)
{
    for (auto it = patch.begin(); it != patch.end(); ++it) {
        const QJsonValue old = base.value(it.key());
        base.insert(it.key(),
                    old.isObject() && it->isObject() ? merged(old.toObject(), it->toObject()) : *it);
    }
    return base;
}

/// Loads the panel's defaults, quick callbacks, all five adapters (unless @p all is false) and each patch.
bool loadState(std::initializer_list<QByteArray> patches = {}, bool all = true)
{
    QJsonObject state;
    for (const QByteArray &patch :
         QList<QByteArray>{Quick, all ? AllAdapters : "{}"} + QList<QByteArray>(patches))
        state = merged(state, QJsonDocument::fromJson(patch).object());
    return PanelSimulator::loadStateJson(QJsonDocument(state).toJson().toStdString());
}

/// The logged calls but the buzzer's, as "call; call".
QString logged()
{
    QStringList lines;
    for (const auto &line : PanelSimulator::callLog())
        lines << QString::fromStdString(line);
    return lines.filter(QRegularExpression("^(?!beep)"_s)).join("; "_s);
}

/// Lets queued callbacks of the simulated panel arrive.
void settle()
{
    QVERIFY(PanelSimulator::waitForIdle(5000));
    QTest::qWait(30);
}

} // namespace

/// The Network page as a person uses it, with the adapter and DNS cards beside it and the Wi-Fi summary.
class tst_NetworkPage : public QObject
{
    Q_OBJECT

    std::unique_ptr<ScreenFixture> m_f;
    CardNetwork *m_card = nullptr;

    /// Builds the screen anew (one screen at a time: the old one goes first) on the panel loaded with @p
    /// patches (see loadState()), and shows the Network page.
    bool build(std::initializer_list<QByteArray> patches = {}, bool all = true,
               const QSize &size = {800, 1280})
    {
        m_f.reset();
        m_f = std::make_unique<ScreenFixture>();
        if (!loadState(patches, all) || !m_f->load(size) || !m_f->showPage(AppRootItem::MI_Network))
            return false;
        m_card = qobject_cast<CardNetwork *>(m_f->card(AppRootItem::Card_Network));
        m_f->window()->requestActivate();
        settle();
        return m_card && QTest::qWaitForWindowActive(m_f->window());
    }
    /// Presses the adapter's button and lets the rows take their places, as the next frame does.
    bool select(const char *adapter)
    {
        QQuickItem *flow = m_card->property("nicButtonFlow").value<QQuickItem *>();
        QQuickItem *text = ScreenFixture::findText(flow, QString::fromUtf8(adapter));
        QQuickWindowPrivate *window = QQuickWindowPrivate::get(m_f->window());
        return text && m_f->clickButton(text->parentItem()) &&
               QTest::qWaitFor([window] { return window->itemsToPolish.isEmpty(); });
    }
    /// The visible row of the network card (below its adapter buttons) that shows @p label.
    QQuickItem *row(const QString &label) const
    {
        for (QQuickItem *item : m_card->property("layout").value<QQuickItem *>()->childItems().mid(2))
            if (ScreenFixture::findText(item, label))
                return item;
        return nullptr;
    }
    /// The control of type T in that row.
    template<typename T>
    T *control(const QString &label) const
    {
        const QQuickItem *labelled = row(label);
        for (QQuickItem *child : labelled ? labelled->childItems() : QList<QQuickItem *>())
            if (auto *found = qobject_cast<T *>(child))
                return found;
        return nullptr;
    }
    bool clickRowControl(const QString &label) { return m_f->clickButton(control<QSP::BeepSwitch>(label)); }
    /// The "Connection Status" of the 4G modem or the VPN: its text and colour, and the 4G signal icon.
    QString status() const
    {
        QQuickItem *status = row("Connection Status"_s);
        auto *text = status ? qobject_cast<QQuickText *>(status->childItems().last()) : nullptr;
        if (!text)
            return "no status"_s;
        auto *icon = control<QQuickImage>("Signal"_s);
        return text->text() + u' ' + text->color().name() +
               (icon ? u' ' + icon->source().fileName() : QString());
    }
    /// The intervals of the network card's running status polls (4G and Wi-Fi 2000 ms, VPN 3000 ms).
    QString polls() const
    {
        QStringList intervals;
        for (const QTimer *timer : m_card->findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly))
            if (timer->isActive())
                intervals << QString::number(timer->interval());
        return intervals.join(u',');
    }
    QQuickItem *summary() const { return m_card->findChild<QQuickItem *>("wifiSettingsButton"_s); }
    CIpInput *dns(int server) const
    {
        return qvariant_cast<CIpInput *>(
            m_f->card(AppRootItem::Card_DNS)->property(server == 1 ? "dns1Input" : "dns2Input"));
    }
    /// Address fields as shown, "a/b/c", and whether they can be typed in.
    static QString shown(const QList<CIpInput *> &inputs)
    {
        QStringList ips;
        int editable = 0;
        for (CIpInput *input : inputs) {
            ips << (input ? input->ip() : "-"_s);
            editable += input && input->isEnabled();
        }
        return ips.join(u'/') + (editable == inputs.size() ? " editable"_s
                                 : editable                ? " mixed"_s
                                                           : " locked"_s);
    }
    /// The selected adapter's addresses, and the DNS card's two servers.
    QList<CIpInput *> addressFields() const
    {
        return {control<CIpInput>("IP Address"_s), control<CIpInput>("Subnet Mask"_s),
                control<CIpInput>("Default Gateway"_s)};
    }
    QString addresses() const { return shown(addressFields()); }
    QString dnsShown() const { return shown({dns(1), dns(2)}); }
    /// Whether the adapter and DNS cards stand beside the network card.
    bool besides() const
    {
        return m_f->card(AppRootItem::Card_NIC)->isVisible() && m_f->card(AppRootItem::Card_DNS)->isVisible();
    }

private Q_SLOTS:
    void init()
    {
        // Every case starts on a screen of its own, the Network page shown and LAN0 selected.
        QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
        QVERIFY(build());
        PanelSimulator::clearCallLog();
    }

    // The adapter buttons are made once, from the panel's adapters, and the layout is chosen once, from the
    // screen's size.

    void firstSelection_data()
    {
        // What the page shows: buttons (the selected one starred) | rows | addresses | DHCP requests.
        QTest::addColumn<QByteArray>("state");
        QTest::addColumn<QString>("page");
        const auto add = [](const char *tag, const char *state, const char *buttons, const char *wifi,
                            const char *addresses, const char *dhcp = "") {
            QString rows = *addresses
                               ? "Disable Network,Static IP,IP Address,Subnet Mask,Default Gateway,MAC"_s
                               : QString();
            if (*wifi)
                rows.replace("Network,"_s, "Network,Wi-Fi Settings %1,"_s.arg(QString::fromUtf8(wifi)));
            QTest::newRow(tag) << QByteArray(state)
                               << QStringList{QString::fromUtf8(buttons), rows, QString::fromUtf8(addresses),
                                              QString::fromUtf8(dhcp)}
                                      .join(u'|');
        };
        const char *lease = "172.16.4.33/255.255.0.0/172.16.0.1 locked";
        add("all adapters", "{}", "LAN0*,LAN1,Wi-Fi,4G,VPN", "",
            "192.168.1.20/255.255.255.0/192.168.1.1 editable");
        add("LAN0 in DHCP", R"({"adapters": {"LAN0": {"dhcp": true}}})", "LAN0*", "",
            "192.168.1.120/255.255.255.0/192.168.1.1 locked", "setDHCP 1 1 1");
        add("LAN1 and Wi-Fi", R"({"adapters": {"LAN1": {}, "WIFI": {}}})", "LAN1*,Wi-Fi", "",
            "10.0.0.57/255.0.0.0/10.0.0.1 locked", "setDHCP 2 1 1");
        // 30 bytes and a three-byte character cut after its second byte: shown as the Wi-Fi page shows it.
        add("Wi-Fi name cut at 32 bytes",
            R"({"adapters": {"WIFI": {}}, "wifi": {"connected": "0123456789abcdef0123456789abcd你"}})",
            "Wi-Fi*", "Online 0123456789abcdef0123456789abcd", lease, "setDHCP 4 1 1");
        add("Wi-Fi disconnected", R"({"adapters": {"WIFI": {}}, "wifi": {"connected": null}})", "Wi-Fi*",
            "Offline", "0.0.0.0/0.0.0.0/0.0.0.0 locked", "setDHCP 4 1 1");
        add("only 4G and VPN", R"({"adapters": {"4G": {}, "VPN": {}}})", "4G,VPN", "", "");
        add("none", R"({"adapters": {}})", "", "", "");
    }

    void firstSelection()
    {
        QFETCH(QByteArray, state);
        QVERIFY(build({state}, false, QSize(1024, 600)));
        QStringList buttons, rows;
        for (QQuickItem *button : m_card->property("nicButtonFlow").value<QQuickItem *>()->childItems())
            buttons << ScreenFixture::visibleTexts(button).join(QString()) +
                           (button->property("checked").toBool() ? "*"_s : QString());
        for (QQuickItem *row : m_card->property("layout").value<QQuickItem *>()->childItems().mid(2)) {
            QStringList texts = ScreenFixture::visibleTexts(row);
            texts.removeAll(QString()); // a label, or the three texts of the Wi-Fi summary
            if (!texts.isEmpty())
                rows << texts.mid(0, row->inherits("QSP::BeepButton") ? 3 : 1).join(u' ');
        }
        QTEST(QStringList({buttons.join(u','), rows.join(u','), rows.isEmpty() ? QString() : addresses(),
                           logged().split("; "_s).filter("DHCP"_s).join(u';')})
                  .join(u'|'),
              "page");
    }

    void layout_data()
    {
        // Narrower than 800 pixels the menu fills the screen, and the page replaces it from the screen's
        // edges; from 800 on, the page stands beside the menu, right under the title bar.
        QTest::addColumn<QRectF>("card"); // where the network card is, and how wide
        QTest::newRow("799x1280") << QRectF(12, 84, 775, 1);
        QTest::newRow("800x1280") << QRectF(230, 72, 550, 1);
    }

    void layout()
    {
        const QStringList size = QString::fromLatin1(QTest::currentDataTag()).split(u'x');
        QVERIFY(build({}, true, QSize(size[0].toInt(), size[1].toInt())));
        QTEST(m_card->mapRectToScene(QRectF(0, 0, m_card->width(), 1)), "card");
    }

    void scrollBarWhileDragging()
    {
        // Taller than a 600-pixel screen: dragged up, the page shows its scroll bar until a while after.
        QVERIFY(build({}, true, QSize(1024, 600)));
        auto *pool = m_f->root()->property("cardPool").value<QQuickItem *>();
        QQuickItem *handle = nullptr;
        for (QQuickItem *child : m_f->root()->childItems())
            if (child->inherits("QQuickScrollBar"))
                handle = child->property("contentItem").value<QQuickItem *>();
        QVERIFY(pool && handle);
        QVERIFY(!handle->isVisible());
        const QPoint start = ScreenFixture::centreOf(pool);
        QTest::mousePress(m_f->window(), Qt::LeftButton, {}, start);
        for (int step = 1; step <= 10; ++step)
            QTest::mouseMove(m_f->window(), start - QPoint(0, 15 * step), 16);
        QVERIFY(pool->property("contentY").toReal() > 0);
        QVERIFY(handle->isVisible() && handle->opacity() > 0.5);
        QTest::mouseRelease(m_f->window(), Qt::LeftButton, {}, start - QPoint(0, 150));
        QTRY_VERIFY(!handle->isVisible());
    }

    void selectingAdapters()
    {
        QSignalSpy changed(m_card, &CardNetwork::currentNICChanged);
        QVERIFY(changed.isValid());
        const int inputs = m_card->findChildren<CIpInput *>().size();

        // LAN1 is in DHCP: shown for the first time, it asks for its address again and shows the lease; the
        // DNS card follows, read-only. The selected button again does nothing at all.
        QVERIFY(select("LAN1") && select("LAN1"));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(logged(), "setDHCP 2 1 1"_s);
        QTRY_COMPARE(addresses(), "10.0.0.57/255.0.0.0/10.0.0.1 locked"_s);
        QCOMPARE(dnsShown(), "10.0.0.1/0.0.0.0 locked"_s);

        // Back to the static LAN0: its rows were kept, and nothing is asked of the panel.
        QVERIFY(select("LAN0"));
        QCOMPARE(changed.count(), 2);
        QCOMPARE(m_card->findChildren<CIpInput *>().size(), inputs + 3);
        QCOMPARE(logged(), "setDHCP 2 1 1"_s);
        QCOMPARE(addresses(), "192.168.1.20/255.255.255.0/192.168.1.1 editable"_s);
        QCOMPARE(dnsShown(), "192.168.1.1/8.8.8.8 editable"_s);
    }

    void switchRules_data()
    {
        QTest::addColumn<QString>("adapter");
        QTest::addColumn<QStringList>("switches");
        QTest::addColumn<QString>("calls");
        QTest::addColumn<QString>("fields"); // the addresses, the DNS servers, the "Static IP" switch
        QTest::addColumn<bool>("dhcpLater"); // a second after switching back on

        const auto add = [](const char *tag, const char *adapter, QStringList switches, const char *calls,
                            const char *fields, bool dhcpLater = false) {
            QTest::newRow(tag) << adapter << switches << QString::fromUtf8(calls) << fields << dhcpLater;
        };
        const QString off = "Disable Network"_s, fixed = "Static IP"_s;
        add("LAN0 off", "LAN0", {off}, "enableNIC 1 0 1", "locked,locked,fixed");
        add("LAN0 off and on, static", "LAN0", {off, off}, "enableNIC 1 0 1; enableNIC 1 1 1",
            "editable,editable,switchable");
        add("LAN0 to DHCP", "LAN0", {fixed}, "setDHCP 1 1 1", "locked,locked,switchable");
        add("LAN1 off and on, DHCP", "LAN1", {off, off}, "enableNIC 2 0 1; enableNIC 2 1 1",
            "locked,locked,switchable", true);
        add("LAN1 to static", "LAN1", {fixed}, "setDHCP 2 0 1", "editable,editable,switchable");
    }

    void switchRules()
    {
        QFETCH(QString, adapter);
        QFETCH(QStringList, switches);
        QFETCH(bool, dhcpLater);
        QVERIFY(select(adapter.toUtf8()));
        settle();
        PanelSimulator::clearCallLog();
        for (const QString &label : switches)
            QVERIFY(clickRowControl(label));

        // The fields follow the switches at once, before the panel has answered.
        QTEST(addresses().section(u' ', 1) + u',' + dnsShown().section(u' ', 1) +
                  (control<QSP::BeepSwitch>("Static IP"_s)->isEnabled() ? ",switchable"_s : ",fixed"_s),
              "fields");
        QTEST(logged(), "calls");

        // Switched back on, a DHCP adapter asks for an address one second later; a static one does not.
        if (switches.size() < 2)
            return;
        QTest::qWait(800);
        QVERIFY(!logged().contains("setDHCP"_s));
        QTest::qWait(dhcpLater ? 0 : 400);
        QTRY_COMPARE(logged().count("setDHCP"_s), int(dhcpLater));
    }

    void addressEdits_data()
    {
        QTest::addColumn<QString>("label");
        QTest::addColumn<int>("field");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("calls");
        QTest::addColumn<int>("key"); // that ends the editing

        const auto add = [](const char *tag, const char *label, int field, const char *typed,
                            const char *calls, int key = Qt::Key_Return) {
            QTest::newRow(tag) << label << field << typed << QString::fromUtf8(calls) << key;
        };
        add("IP address", "IP Address", 3, "50", "setIp 1 192.168.1.50 1");
        add("subnet mask", "Subnet Mask", 2, "0", "setSubnetMask 1 255.255.0.0 1");
        add("gateway", "Default Gateway", 0, "10", "setGateway 1 10.168.1.1 1");
        add("same number", "IP Address", 0, "192", "");
        add("DNS 1 writes both", "DNS 1", 0, "10", "setDns 1 10.168.1.1 8.8.8.8");
        add("DNS 2 writes both", "DNS 2", 3, "4", "setDns 1 192.168.1.1 8.8.8.4");
        // Addresses typed as people type them, with their dots, or pasted whole.
        add("dots move on", "IP Address", 0, "10.0.0.5", "setIp 1 10.0.0.5 1");
        add("dot in an empty field", "Subnet Mask", 2, "\b.7", "setSubnetMask 1 255.255.7.0 1");
        add("paste", "Default Gateway", 1, "\x16", "setGateway 1 172.16.0.254 1");
        add("cancelled mid-edit", "IP Address", 3, "77", "", Qt::Key_Escape);
        add("cancelled DNS", "DNS 1", 0, "10", "", Qt::Key_Escape);
    }

    void addressEdits()
    {
        QFETCH(QString, label);
        QFETCH(int, field);
        QFETCH(QString, typed);
        CIpInput *input = label.startsWith("DNS"_s) ? dns(label.right(1).toInt()) : control<CIpInput>(label);
        QVERIFY(input && input->isEnabled());
        auto *box = input->property(QByteArray("ipi" + QByteArray::number(field)).constData())
                        .value<QQuickTextInput *>();
        QVERIFY(m_f->click(box) && input->editing());
        QGuiApplication::clipboard()->setText(" 172.16.0.254\n"_s);
        for (const QChar c : typed) {
            if (c == u'\x16')
                QTest::keyClick(m_f->window(), Qt::Key_V, Qt::ControlModifier);
            else if (c == u'\b')
                QTest::keyClick(m_f->window(), Qt::Key_Backspace);
            else
                QTest::keyClick(m_f->window(), c.toLatin1());
        }
        // A refresh (reopening, an address update) while the user types leaves the field alone.
        QMetaObject::invokeMethod(m_card, "updateNetInfoDisplay", Q_ARG(int, 1));
        QMetaObject::invokeMethod(m_f->root(), "opened");
        QVERIFY(input->editing() && (typed.toInt() == 0 || box->text() == typed));
        settle();
        PanelSimulator::clearCallLog();

        QFETCH(int, key);
        QTest::keyClick(m_f->window(), Qt::Key(key));
        QVERIFY(!input->editing());
        QTEST(logged(), "calls");
    }

    void statusRows_data()
    {
        // For 4G: the modem's signal and state; for the VPN: whether it is on and the tunnel's state.
        QTest::addColumn<QString>("adapter");
        QTest::addColumn<QString>("value");
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("shown");
        const auto add = [](const char *tag, const char *adapter, const char *value, int state,
                            const char *shown) { QTest::newRow(tag) << adapter << value << state << shown; };
        add("4G no signal", "4G", "0", 0, "Not connected #1d2129 singal4G_0");
        add("4G negative", "4G", "-4", 0, "Not connected #1d2129 singal4G_0");
        add("4G 20", "4G", "20", 1, "Connecting... #1d2129 singal4G_1");
        add("4G 21", "4G", "21", 2, "Connection successful #1d2129 singal4G_2");
        add("4G 100", "4G", "100", 2, "Connection successful #1d2129 singal4G_5");
        add("4G 101 keeps the icon", "4G", "101", 9, "Unknown #1d2129 singal4G_3");
        add("VPN 0", "VPN", "true", 0, "Not connected #1d2129");
        add("VPN 1", "VPN", "true", 1, "Connecting... #1d2129");
        add("VPN 2", "VPN", "true", 2, "HMI not authorized #ff4d4f");
        add("VPN 3", "VPN", "true", 3, "SSL Error #ff4d4f");
        add("VPN 4", "VPN", "true", 4, "Certificate Error #ff4d4f");
        add("VPN 5", "VPN", "true", 5, "VPN connected #00bc79");
        add("VPN 6", "VPN", "true", 6, "Unknown Status #ff4d4f");
        add("VPN switched off", "VPN", "false", 5, "Not connected #1d2129");
    }

    void statusRows()
    {
        QFETCH(QString, adapter);
        QFETCH(QString, value);
        QFETCH(int, state);
        QVERIFY(loadState({R"({"modem": {"signal": 50, "state": 2}})"}) && select(adapter.toUtf8()));
        const bool modem = adapter == "4G"_s;
        const QString panel = modem ? R"({"modem": {"signal": %1, "state": %2}})"_s
                                    : R"({"adapters": {"VPN": {"enabled": %1}}, "vpn": {"state": %2}})"_s;
        QVERIFY(loadState({panel.arg(value).arg(state).toUtf8()}));
        QVERIFY(QMetaObject::invokeMethod(m_card, modem ? "update4GSignal" : "updateVPNStatus"));
        QTEST(status(), "shown");
        QCOMPARE(logged(), QString());
    }

    void vpnServerAndSwitch()
    {
        // The adapter and DNS cards do not stand beside the VPN.
        QVERIFY(select("VPN") && !m_f->card(AppRootItem::Card_NIC)->isVisible() &&
                !m_f->card(AppRootItem::Card_DNS)->isVisible());
        auto *server = control<QSP::ComboBox>("Server"_s);
        QVERIFY(server && server->isEnabled() && server->currentIndex() == 0);
        server->setCurrentIndex(1); // what picking "Europe" in its list does
        QCOMPARE(logged(), "setVPNServer 1; resetVPNIp 1"_s);

        // A new language renames the servers and keeps the choice, writing nothing.
        QSP::GlobalInfo::switchLanguage(QLocale(QLocale::Chinese, QLocale::China));
        QCOMPARE(server->model().toList().value(0).toMap().value("name"_s).toString(), "亚洲服务器"_s);
        QCOMPARE(server->currentIndex(), 1);
        QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
        QCOMPARE(logged().count("VPN"_s), 2); // the pick's
        PanelSimulator::clearCallLog();

        QVERIFY(clickRowControl("VPN"_s));
        QCOMPARE(logged(), "enableNIC 64 1 1"_s);
        QVERIFY(!server->isEnabled());
        QVERIFY(clickRowControl("VPN"_s));
        QCOMPARE(logged(), "enableNIC 64 1 1; resetVPNIp 1; enableNIC 64 0 1"_s);
        QVERIFY(server->isEnabled());
        // Leaving the VPN brings the adapter and DNS cards back.
        QVERIFY(select("LAN1") && besides());
    }

    void timersFollowSelection()
    {
        // 4G selected and on: its rows follow the modem every two seconds; left, it is no longer asked. The
        // adapter and DNS cards stand beside the modem; its DNS servers cannot be typed.
        QVERIFY(polls().isEmpty() && select("4G") && besides());
        QCOMPARE(polls(), "2000"_s);
        QCOMPARE(dnsShown(), "0.0.0.0/0.0.0.0 locked"_s);
        QCOMPARE(status(), "Connection successful #1d2129 singal4G_4"_s);
        QVERIFY(loadState({R"({"modem": {"signal": 10, "state": 1}})"}));
        QTRY_COMPARE_WITH_TIMEOUT(status(), "Connecting... #1d2129 singal4G_1"_s, 3000);
        QVERIFY(select("LAN0") && polls().isEmpty());

        // Switched off: "Not connected" with no signal, and no polling, also after coming back.
        QVERIFY(loadState({R"({"modem": {"signal": 90, "state": 2}})"}) && select("4G"));
        QCOMPARE(status(), "Connection successful #1d2129 singal4G_5"_s);
        QVERIFY(clickRowControl("4G"_s));
        QCOMPARE(logged(), "enableNIC 16 0 1"_s);
        QVERIFY(polls().isEmpty() && select("LAN0") && select("4G") && polls().isEmpty());
        QCOMPARE(status(), "Not connected #1d2129 singal4G_0"_s);
        QSP::GlobalInfo::switchLanguage(QLocale(QLocale::Chinese, QLocale::China));
        QVERIFY(ScreenFixture::findText(m_card, "未连接"_s));
        QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));

        // The VPN is polled every three seconds while selected, even with its switch off.
        QVERIFY(loadState({R"({"vpn": {"state": 5}})"}) && select("VPN"));
        QCOMPARE(polls(), "3000"_s);
        QCOMPARE(status(), "Not connected #1d2129"_s);
        QVERIFY(loadState({R"({"adapters": {"VPN": {"enabled": true}}, "vpn": {"state": 5}})"}));
        QTRY_COMPARE_WITH_TIMEOUT(status(), "VPN connected #00bc79"_s, 4000);
        QVERIFY(select("LAN0") && polls().isEmpty());

        // Wi-Fi, switched on, is polled every two seconds while selected (see wifiSummary).
        QVERIFY(select("Wi-Fi") && polls() == "2000"_s && select("LAN0") && polls().isEmpty());

        // A closed screen polls nothing, whatever is selected; opening it starts the poll again.
        QVERIFY(loadState({R"({"adapters": {"VPN": {"enabled": true}}})"}));
        for (const auto &[adapter, interval] :
             {std::pair{"4G", "2000"}, {"VPN", "3000"}, {"Wi-Fi", "2000"}}) {
            QVERIFY(select(adapter));
            m_f->close();
            QMetaObject::invokeMethod(m_card, "updateWifiStatus"); // a report from the Wi-Fi card meanwhile
            QCOMPARE(polls(), QString());
            m_f->open();
            QVERIFY(m_f->showPage(AppRootItem::MI_Network));
            QCOMPARE(polls(), QLatin1String(interval));
        }
    }

    void wifiSummary_data()
    {
        // The addresses obtained from a network go with it; a static configuration is the adapter's own.
        QTest::addColumn<QByteArray>("adapter");
        QTest::addColumn<QString>("calls");   // after switching on: DHCP a second later, unless static
        QTest::addColumn<QString>("online");  // the addresses while connected
        QTest::addColumn<QString>("offline"); // once the network has gone, or after a reset
        QTest::newRow("DHCP") << QByteArray("{}") << "enableNIC 4 1 1; setDHCP 4 1 1"_s
                              << "172.16.4.33/255.255.0.0/172.16.0.1 locked"_s
                              << "// locked"_s;
        QTest::newRow("static") << QByteArray(StaticWifi) << "enableNIC 4 1 1"_s
                                << "192.168.5.9/255.255.255.0/192.168.5.1 editable"_s
                                << "192.168.5.9/255.255.255.0/192.168.5.1 editable"_s;
    }

    void wifiSummary()
    {
        // Opened with Wi-Fi switched off: the summary cannot be pressed, shows no arrow and is not polled.
        QFETCH(QByteArray, adapter);
        QFETCH(QString, calls);
        QVERIFY(build({adapter, R"({"adapters": {"WIFI": {"enabled": false}}})"}));
        QSignalSpy status(m_card, &CardNetwork::wifiStatusChanged);
        QVERIFY(status.isValid() && select("Wi-Fi"));
        QQuickItem *arrow = summary()->findChildren<QQuickImage *>().last();
        const auto says = [this] {
            QStringList texts = ScreenFixture::visibleTexts(summary());
            texts.removeAll(QString());
            return texts.mid(1).join(u' ');
        };
        QCOMPARE(says(), "Offline"_s);
        QVERIFY(!summary()->isEnabled() && !arrow->isVisible() && polls().isEmpty() && status.isEmpty());
        settle();
        PanelSimulator::clearCallLog();

        // Switched on: the connection shows, and its end within two seconds.
        QVERIFY(clickRowControl("Disable Network"_s));
        QVERIFY(summary()->isEnabled() && arrow->isVisible());
        QCOMPARE(polls(), "2000"_s);
        QCOMPARE(says(), "Online Plant-Floor"_s);
        QCOMPARE(status.last(), (QVariantList{true, "Plant-Floor"_s}));
        const QList<CIpInput *> fields = addressFields(); // also once hidden
        QTEST(shown(fields), "online");
        const QByteArray known = R"({"delaysMs": {"connect": 300}, "wifi": {"networks":
            [{"ssid": "Known", "secured": true, "password": "wrong", "secret": "right"}]}})";
        QVERIFY(loadState({adapter, known, R"({"wifi": {"connected": null}})"}));
        QTRY_COMPARE_WITH_TIMEOUT(says(), "Offline"_s, 3000);
        QTEST(shown(fields), "offline");
        QTRY_COMPARE(logged(), calls);

        // The summary leads to the Wi-Fi page. There a network with a known, wrong password: the summary
        // keeps what it showed while the attempt is under way, whatever the poll finds, and follows the panel
        // again once the attempt has failed.
        QVERIFY(m_f->clickButton(summary()));
        QCOMPARE(m_f->root()->currentPage(), AppRootItem::MI_Wifi);
        auto *wifi = qobject_cast<QSP::CardWifi *>(m_f->card(AppRootItem::Card_Wifi));
        auto *scan = wifi->property("scanButton").value<QQuickItem *>();
        QTRY_VERIFY(scan->isEnabled()); // after the first scan
        QVERIFY(m_f->clickButton(scan));
        QTRY_COMPARE(wifi->wifiList().size(), 1);
        QVERIFY(m_f->clickButton(wifi->wifiList()[0].item->findChild<QQuickAbstractButton *>()));
        QVERIFY(loadState({adapter, known}));
        QVERIFY(QMetaObject::invokeMethod(m_card, "updateWifiStatus")); // as the poll does
        QCOMPARE(status.last(), (QVariantList{false, QString()}));
        QTRY_VERIFY(ScreenFixture::findText(wifi->passwordDialog()->popupItem(), "Wrong password"_s));
        QCOMPARE(status.last(), (QVariantList{true, "Plant-Floor"_s}));
        QTEST(shown(fields), "online");

        // A reset disconnects too.
        wifi->passwordDialog()->close();
        QQuickItem *reset = ScreenFixture::findText(wifi, "Reset"_s);
        while (reset && !reset->inherits("QQuickAbstractButton"))
            reset = reset->parentItem();
        QTRY_VERIFY(reset && reset->isEnabled());
        QVERIFY(m_f->clickButton(reset));
        QTEST(shown(fields), "offline");
    }

    void adapterCardAndPing()
    {
        QVERIFY(build({R"({"adapters": {"VPN": {"enabled": true}}})"}));
        QQuickItem *card = m_f->card(AppRootItem::Card_NIC);
        auto *combo = qvariant_cast<QSP::ComboBox *>(card->property("combobox"));
        const auto names = [combo] {
            QStringList list;
            for (const QVariant &row : combo->model().toList())
                list << row.toMap().value("name"_s).toString();
            return list.join(u',') + u'/' + QString::number(combo->currentIndex());
        };
        // The VPN is never offered. The default adapter switched off leaves the list, and nothing is
        // selected.
        QCOMPARE(names(), "LAN0,LAN1,Wi-Fi,4G/0"_s);
        QVERIFY(clickRowControl("Disable Network"_s));
        QCOMPARE(names(), "LAN1,Wi-Fi,4G/-1"_s);
        QVERIFY(clickRowControl("Disable Network"_s));
        QCOMPARE(names(), "LAN0,LAN1,Wi-Fi,4G/0"_s);
        PanelSimulator::clearCallLog();
        combo->setCurrentIndex(2); // picking "Wi-Fi"
        QCOMPARE(logged(), "setDefaultNIC 4 0"_s);
        PanelSimulator::clearCallLog();

        // Two quick presses, the panel answering yes and then no, both slow enough to come before any result.
        // The panel's own default is LAN0 again: the test runs through the adapter that the list shows.
        const auto results = [this] { // the messages of the result dialogs, "-" for one closed but not freed
            QStringList messages;
            for (QSP::Dialog *dialog : m_f->root()->findChildren<QSP::Dialog *>()) {
                if (dialog->title() == "Test Result"_s)
                    messages << (dialog->isOpened() ? ScreenFixture::visibleTexts(dialog->bodyItem()).value(0)
                                                    : "-"_s);
            }
            messages.sort();
            return messages.join(u',');
        };
        auto *test = card->findChild<QQuickItem *>("testButton"_s);
        QElapsedTimer clock;
        clock.start();
        for (const char *ping : {R"({"ping": true, "delaysMs": {"ping": 300}})",
                                 R"({"ping": false, "delaysMs": {"ping": 300}})"})
            QVERIFY(loadState({ping}) && m_f->clickButton(test));
        QCOMPARE(logged(), "pingTest 4; pingTest 4"_s);
        QCOMPARE(results(), QString()); // nothing while the test runs
        // Each result in a dialog of its own, which closes itself three seconds after it opened.
        QTRY_COMPARE(results(), "Test failed!,Test successful!"_s);
        QTest::qWait(2800 - int(clock.elapsed()));
        QCOMPARE(results(), "Test failed!,Test successful!"_s);
        QTRY_VERIFY_WITH_TIMEOUT(!results().contains("Test"_s), 2000);

        // A closed result is freed, also one that a tap beside it closed before its time.
        QTRY_COMPARE(results(), QString());
        QVERIFY(loadState({R"({"ping": true, "delaysMs": {"ping": 10}})"}) && m_f->clickButton(test));
        QTRY_COMPARE(results(), "Test successful!"_s);
        QTest::mouseClick(m_f->window(), Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        QTRY_COMPARE(results(), QString());
    }
};

QTEST_MAIN(tst_NetworkPage)
#include "tst_networkpage.moc"
