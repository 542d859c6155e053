#include "AppRootItem.h"
#include "BeepButton.h"
#include "CIpInput.h"
#include "CardTime.h"
#include "CardWifi.h"
#include "ComboBox.h"
#include "Dialog.h"
#include "PanelSimulator.h"
#include "QVkbPluginLoader.h"
#include "ScreenFixture.h"
#include "TestKeyboard.h"
#include "TimeEditPopup.h"

#include <QQuickWindow>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtQuickTemplates2/private/qquickpopup_p.h>
#include <QtTest>

using HMI::PanelSimulator;
using QSP::AppRootItem;

namespace {

constexpr char State[] = R"({
  "delaysMs": {"dhcp": 0, "ping": 0, "scan": 0, "reset": 0, "connect": 0},
  "serial": "<b>SN</b>&lt;1&gt;",
  "wifi": {"connected": null, "networks": [{"ssid": "Office", "strength": 80, "secured": true, "secret": "k"}]}
})";

/// The first item of type T below @p under, in the item tree.
template<typename T>
T *itemBelow(QQuickItem *under)
{
    QList<QQuickItem *> items{under};
    while (!items.isEmpty()) {
        QQuickItem *item = items.takeFirst();
        if (auto *found = qobject_cast<T *>(item))
            return found;
        items << item->childItems();
    }
    return nullptr;
}

/// The calls that write something, without the buzzer's clicks.
QStringList writes()
{
    QStringList lines;
    for (const auto &line : PanelSimulator::callLog()) {
        if (line.rfind("beep", 0) != 0)
            lines << QString::fromStdString(line);
    }
    return lines;
}

} // namespace

/// The root item as a host drives it: what closing the screen does to whatever the user was doing.
class tst_AppRootItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { m_f.open(); }
    void closeEndsEdits_data();
    void closeEndsEdits();
    void everyTextIsPlain_data();
    void everyTextIsPlain();
    void defaultAdapterListOnOpening();

private:
    /// Opens what holds the field @p which and returns the field, focused by a tap.
    QQuickTextInput *startEditing(const QString &which);
    bool ownsFocus() const;

    ScreenFixture m_f;
    TestKeyboard m_keyboard;
};

void tst_AppRootItem::initTestCase()
{
    QVkbPluginLoader::instance()->setVkb(&m_keyboard);
    QVERIFY(PanelSimulator::loadStateJson(State));
    QVERIFY(m_f.load(QSize(800, 1280)));
    m_f.window()->requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(m_f.window()));
}

QQuickTextInput *tst_AppRootItem::startEditing(const QString &which)
{
    if (which == QLatin1String("time")) {
        m_f.showPage(AppRootItem::MI_General);
        QQuickItem *card = m_f.card(AppRootItem::Card_Time);
        m_f.clickButton(card->findChild<QSP::BeepButton *>());
        auto *popup = card->findChild<QSP::TimeEditPopup *>();
        if (!popup || !QTest::qWaitFor([popup] { return popup->isOpened(); }))
            return nullptr;
        auto *year = qobject_cast<QQuickTextInput *>(popup->inputField(QSP::TimeEditPopup::Year));
        m_f.click(year);
        return year;
    }
    if (which == QLatin1String("password")) {
        m_f.showPage(AppRootItem::MI_Network);
        m_f.root()->setCurrentPage(AppRootItem::MI_Wifi);
        auto *wifi = qobject_cast<QSP::CardWifi *>(m_f.card(AppRootItem::Card_Wifi));
        if (!wifi || !QTest::qWaitFor([wifi] { return wifi->wifiList().size() == 1; }))
            return nullptr;
        m_f.clickButton(itemBelow<QQuickAbstractButton>(wifi->wifiList().first().item));
        if (!wifi->passwordDialog() ||
            !QTest::qWaitFor([wifi] { return wifi->passwordDialog()->isOpened(); }))
            return nullptr;
        auto *input = itemBelow<QQuickTextInput>(wifi->passwordDialog()->bodyItem());
        m_f.click(input);
        return input;
    }
    // An address field of the network card or the DNS card, LAN0 selected, static addresses.
    m_f.showPage(AppRootItem::MI_Network);
    QQuickItem *card =
        m_f.card(which == QLatin1String("DNS 1") ? AppRootItem::Card_DNS : AppRootItem::Card_Network);
    QQuickItem *label = ScreenFixture::findText(card, which);
    auto *address = label ? itemBelow<QSP::CIpInput>(label->parentItem()) : nullptr;
    if (!address || !address->isEnabled())
        return nullptr;
    auto *field = address->property("ipi3").value<QQuickTextInput *>();
    m_f.click(field);
    return field;
}

bool tst_AppRootItem::ownsFocus() const
{
    QQuickItem *focused = m_f.window()->activeFocusItem();
    if (!focused)
        return false;
    if (focused == m_f.root() || m_f.root()->isAncestorOf(focused))
        return true;
    for (QQuickPopup *popup : m_f.root()->findChildren<QQuickPopup *>()) {
        if (popup->popupItem()->isAncestorOf(focused) || popup->popupItem() == focused)
            return true;
    }
    return false;
}

void tst_AppRootItem::closeEndsEdits_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<bool>("restored"); // the field shows again what it held before the edit
    QTest::newRow("address") << "IP Address" << true;
    QTest::newRow("DNS server") << "DNS 1" << true;
    QTest::newRow("time popup") << "time" << false;
    QTest::newRow("password dialog") << "password" << false;
}

void tst_AppRootItem::closeEndsEdits()
{
    QFETCH(QString, field);
    QQuickTextInput *input = startEditing(field);
    QVERIFY(input);
    QTRY_VERIFY(input->hasActiveFocus());
    QVERIFY(m_keyboard.isVisible());
    const QString before = input->text();
    PanelSimulator::clearCallLog();
    QTest::keyClick(m_f.window(), Qt::Key_Delete);
    QTest::keyClick(m_f.window(), Qt::Key_4);
    QCOMPARE(input->text() == before, false);

    // The host leaves the screen in the middle of the edit; keys typed afterwards reach nothing of it.
    m_f.close();
    QVERIFY(!ownsFocus());
    QVERIFY(!m_keyboard.isVisible());
    for (QQuickPopup *popup : m_f.root()->findChildren<QQuickPopup *>())
        QVERIFY2(!popup->isVisible(), popup->metaObject()->className());
    QTest::keyClick(m_f.window(), Qt::Key_7);
    QTest::keyClick(m_f.window(), Qt::Key_Return);
    QVERIFY(PanelSimulator::waitForIdle(5000));
    QTest::qWait(20);
    QCOMPARE(writes(), QStringList());
    QFETCH(bool, restored);
    if (restored)
        QCOMPARE(input->text(), before);
}

void tst_AppRootItem::everyTextIsPlain_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("shown"); // text from outside the program, shown exactly as it came
    QTest::newRow("General") << int(AppRootItem::MI_General) << QString();
    QTest::newRow("Network") << int(AppRootItem::MI_Network) << QString();
    QTest::newRow("Language") << int(AppRootItem::MI_Language) << QString();
    QTest::newRow("Version") << int(AppRootItem::MI_Version) << QStringLiteral("<b>SN</b>&lt;1&gt;");
    QTest::newRow("Wi-Fi") << int(AppRootItem::MI_Wifi) << QStringLiteral("Office");
}

void tst_AppRootItem::everyTextIsPlain()
{
    // Names and numbers come from the air and from other programs: no text of the screen may take them for
    // markup. Every text item is checked, with its popups made and opened once.
    QFETCH(int, page);
    if (page == AppRootItem::MI_Wifi) {
        QVERIFY(m_f.showPage(AppRootItem::MI_Network));
        m_f.root()->setCurrentPage(AppRootItem::MI_Wifi);
    } else {
        QVERIFY(m_f.showPage(AppRootItem::MenuIndex(page)));
    }
    const auto cards = m_f.root()->getCardContainer()->childItems();
    for (QQuickItem *card : cards) {
        if (card->isVisible())
            QMetaObject::invokeMethod(card, "opened"); // nothing must break when a card lacks the signal
    }
    if (page == AppRootItem::MI_General)
        QVERIFY(startEditing(QStringLiteral("time")));
    if (page == AppRootItem::MI_Wifi)
        QVERIFY(startEditing(QStringLiteral("password")));
    QList<QQuickItem *> items{m_f.window()->contentItem()};
    for (QQuickPopup *popup : m_f.root()->findChildren<QQuickPopup *>())
        items << popup->popupItem();
    int texts = 0;
    while (!items.isEmpty()) {
        QQuickItem *item = items.takeFirst();
        items << item->childItems();
        if (auto *text = qobject_cast<QQuickText *>(item)) {
            ++texts;
            QVERIFY2(text->textFormat() == QQuickText::PlainText, qPrintable(text->text()));
        }
    }
    QVERIFY(texts > 10);
    QFETCH(QString, shown);
    if (!shown.isEmpty())
        QTRY_VERIFY(ScreenFixture::findText(m_f.window()->contentItem(), shown));
    m_f.close();
}

void tst_AppRootItem::defaultAdapterListOnOpening()
{
    // LAN1 was never selected on the Network page of this process, so the page never showed its switch.
    QVERIFY(m_f.showPage(AppRootItem::MI_Network));
    auto *combo = itemBelow<QSP::ComboBox>(m_f.card(AppRootItem::Card_NIC));
    QVERIFY(combo);
    const auto shown = [combo] {
        QStringList names;
        for (const QVariant &row : combo->model().toList())
            names << row.toMap().value(QStringLiteral("name")).toString();
        return names.join(QLatin1Char(',')) + QLatin1Char('/') + QString::number(combo->currentIndex());
    };
    QCOMPARE(shown(), QStringLiteral("LAN0,LAN1,Wi-Fi,4G/0"));
    // Another program makes LAN1 the default adapter and then switches it off, while the screen is closed.
    m_f.close();
    QVERIFY(PanelSimulator::loadStateJson(
        R"({"defaultAdapter": "LAN1", "adapters": {"LAN0": {}, "LAN1": {"enabled": false},
        "WIFI": {}, "4G": {}}})"));
    m_f.open();
    QVERIFY(m_f.showPage(AppRootItem::MI_Network));
    QCOMPARE(shown(), QStringLiteral("LAN0,Wi-Fi,4G/-1"));
    // Nothing to test through: the test fails at once, without pinging anything.
    PanelSimulator::clearCallLog();
    QVERIFY(m_f.clickButton(
        m_f.card(AppRootItem::Card_NIC)->findChild<QQuickItem *>(QStringLiteral("testButton"))));
    QCOMPARE(writes(), QStringList());
    QTRY_VERIFY(ScreenFixture::findText(m_f.window()->contentItem(), QStringLiteral("Test failed!")));
    QVERIFY(PanelSimulator::loadStateJson(State));
}

QTEST_MAIN(tst_AppRootItem)
#include "tst_approotitem.moc"
