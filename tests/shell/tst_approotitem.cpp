#include "AppRootItem.h"
#include "BeepButton.h"
#include "CIpInput.h"
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

/// Whether the panel was asked to change anything: every call but the buzzer's clicks.
bool anythingWritten()
{
    return int(PanelSimulator::callLog().size()) != ScreenFixture::calls("beep");
}

} // namespace

/// The root item as a host drives it: what closing the screen does to whatever the user was doing.
class tst_AppRootItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVkbPluginLoader::instance()->setVkb(&m_keyboard);
        QVERIFY(PanelSimulator::loadStateJson(State));
        QVERIFY(m_f.load(QSize(800, 1280)));
        m_f.window()->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(m_f.window()));
    }

    void init() { m_f.open(); }
    void closeEndsEdits_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("field"); // empty: the page's own field, if any
        QTest::addColumn<bool>("restored"); // the field shows again what it held before the edit
        QTest::newRow("General: time popup") << int(AppRootItem::MI_General) << QString() << false;
        QTest::newRow("Network: address") << int(AppRootItem::MI_Network) << "IP Address" << true;
        QTest::newRow("Network: DNS server") << int(AppRootItem::MI_Network) << "DNS 1" << true;
        QTest::newRow("Wi-Fi: password dialog") << int(AppRootItem::MI_Wifi) << QString() << false;
        QTest::newRow("Language") << int(AppRootItem::MI_Language) << QString() << false;
        QTest::newRow("Version") << int(AppRootItem::MI_Version) << QString() << false;
    }

    void closeEndsEdits()
    {
        QFETCH(int, page);
        QFETCH(QString, field);
        QVERIFY(m_f.showPage(page == AppRootItem::MI_Wifi ? AppRootItem::MI_Network
                                                          : AppRootItem::MenuIndex(page)));
        m_f.root()->setCurrentPage(AppRootItem::MenuIndex(page));
        QQuickTextInput *input = startEditing(page, field);
        QCOMPARE(!input, page == AppRootItem::MI_Language || page == AppRootItem::MI_Version);

        // Names and numbers come from the air and from other programs: no text of the screen, its popups
        // open, may take them for markup.
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
        if (!input) {
            m_f.close();
            return;
        }

        QTRY_VERIFY(input->hasActiveFocus());
        QVERIFY(m_keyboard.isVisible());
        const QString before = input->text();
        PanelSimulator::clearCallLog();
        QTest::keyClick(m_f.window(), Qt::Key_Delete);
        QTest::keyClick(m_f.window(), Qt::Key_4);
        QVERIFY(input->text() != before);

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
        QVERIFY(!anythingWritten());
        QFETCH(bool, restored);
        if (restored)
            QCOMPARE(input->text(), before);
    }

    void defaultAdapterListOnOpening()
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
        // Another program makes LAN1 the default adapter and then switches it off, while the screen is
        // closed.
        m_f.close();
        QVERIFY(PanelSimulator::loadStateJson(
            R"({"defaultAdapter": "LAN1", "adapters": {"LAN0": {}, "LAN1": {"enabled": false}, "WIFI": {}, "4G": {}}})"));
        m_f.open();
        QVERIFY(m_f.showPage(AppRootItem::MI_Network));
        QCOMPARE(shown(), QStringLiteral("LAN0,Wi-Fi,4G/-1"));
        // Nothing to test through: the test fails at once, without pinging anything.
        PanelSimulator::clearCallLog();
        QVERIFY(m_f.clickButton(
            m_f.card(AppRootItem::Card_NIC)->findChild<QQuickItem *>(QStringLiteral("testButton"))));
        QVERIFY(!anythingWritten());
        QTRY_VERIFY(ScreenFixture::findText(m_f.window()->contentItem(), QStringLiteral("Test failed!")));
        QVERIFY(PanelSimulator::loadStateJson(State));
    }

private:
    /// Opens what holds the field @p which on the page shown and returns the field, focused by a tap.
    QQuickTextInput *startEditing(int page, const QString &which)
    {
        if (page == AppRootItem::MI_General) {
            QQuickItem *card = m_f.card(AppRootItem::Card_Time);
            m_f.clickButton(card->findChild<QSP::BeepButton *>());
            auto *popup = card->findChild<QSP::TimeEditPopup *>();
            if (!popup || !QTest::qWaitFor([popup] { return popup->isOpened(); }))
                return nullptr;
            auto *year = qobject_cast<QQuickTextInput *>(popup->inputField(QSP::TimeEditPopup::Year));
            m_f.click(year);
            return year;
        }
        if (page == AppRootItem::MI_Wifi) {
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
        if (which.isEmpty())
            return nullptr;
        // An address field of the network card or the DNS card, LAN0 selected, static addresses.
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

    bool ownsFocus() const
    {
        QQuickItem *focused = m_f.window()->activeFocusItem();
        QList<QQuickItem *> parts{m_f.root()};
        for (QQuickPopup *popup : m_f.root()->findChildren<QQuickPopup *>())
            parts << popup->popupItem();
        return focused && std::any_of(parts.begin(), parts.end(), [focused](QQuickItem *part) {
                   return part == focused || part->isAncestorOf(focused);
               });
    }

    ScreenFixture m_f;
    TestKeyboard m_keyboard;
};

QTEST_MAIN(tst_AppRootItem)
#include "tst_approotitem.moc"
