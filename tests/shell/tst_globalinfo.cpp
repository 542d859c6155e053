#include "GlobalInfo.h"
#include "MeyerSingleton.h"
#include "PanelSimulator.h"

#include <QQuickWindow>
#include <QTranslator>
#include <QtQuick/private/qquicktext_p.h>
#include <QtTest>

using HMI::PanelSimulator;
using QSP::GlobalInfo;

int qInitResources_settingres();
int qCleanupResources_settingres();

namespace {

const QLocale English(QLocale::English, QLocale::UnitedStates);
const QLocale Chinese(QLocale::Chinese, QLocale::China);

QString translated(const char *context, const char *source)
{
    return QCoreApplication::translate(context, source);
}

} // namespace

class tst_GlobalInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Nothing has touched the global information yet: its creation tells the system the language once.
        PanelSimulator::clearCallLog();
        QCOMPARE(GlobalInfo::instance().locale(), English);
        QCOMPARE(PanelSimulator::callLog(), std::vector<std::string>{"setLanguage 1"});
    }

    void init()
    {
        GlobalInfo::switchLanguage(English);
        QVERIFY(PanelSimulator::loadStateJson("{}"));
        PanelSimulator::clearCallLog();
    }

    void nativeOrientation()
    {
        // Until a window shows the panel's screen, the orientation the host's size gives; then the screen's
        // own (the offscreen screen is landscape), whatever size the host gives later.
        GlobalInfo &info = GlobalInfo::instance();
        info.setScreenWidth(800);
        info.setScreenHeight(1280);
        QVERIFY(info.isNativePortrait());
        QQuickWindow window;
        info.initializeNativeOrientation(&window);
        QVERIFY(!info.isNativePortrait());
        info.setScreenWidth(480);
        QVERIFY(!info.isNativePortrait());
    }

    void setLocale_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<int>("signals");
        QTest::addColumn<QString>("systemCall");
        QTest::addColumn<QString>("connect");

        QTest::newRow("same locale") << English << 0 << QString() << QStringLiteral("Connect");
        QTest::newRow("Chinese") << Chinese << 1 << QStringLiteral("setLanguage 0") << QStringLiteral("连接");
        QTest::newRow("Chinese, Taiwan") << QLocale(QLocale::Chinese, QLocale::Taiwan) << 1
                                         << QStringLiteral("setLanguage 0") << QStringLiteral("连接");
        QTest::newRow("German gets the Chinese catalogue")
            << QLocale(QLocale::German, QLocale::Germany) << 1 << QStringLiteral("setLanguage 1")
            << QStringLiteral("连接");
        QTest::newRow("English, United Kingdom")
            << QLocale(QLocale::English, QLocale::UnitedKingdom) << 1 << QStringLiteral("setLanguage 1")
            << QStringLiteral("Connect");
    }

    void setLocale()
    {
        QFETCH(QLocale, locale);
        GlobalInfo &info = GlobalInfo::instance();
        QSignalSpy spy(&info, &GlobalInfo::localeChanged);
        info.setLocale(locale);
        QTEST(spy.count(), "signals");
        QCOMPARE(info.locale(), locale);
        QFETCH(QString, systemCall);
        QCOMPARE(PanelSimulator::callLog(),
                 std::vector<std::string>(systemCall.isEmpty() ? 0 : 1, systemCall.toStdString()));
        QTEST(translated("CardWifi", "Connect"), "connect");
    }

    void externalLanguageChange()
    {
        GlobalInfo &info = GlobalInfo::instance();
        QSignalSpy spy(&info, &GlobalInfo::localeChanged);

        QVERIFY(PanelSimulator::loadStateJson(R"({"language": 0})"));
        info.checkExternalLanguageChange();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(info.locale(), Chinese);
        QCOMPARE(translated("QSP::AppRootItem", "General"), QStringLiteral("通用设置"));
        info.checkExternalLanguageChange(); // the same state read again
        QCOMPARE(spy.count(), 1);

        QVERIFY(PanelSimulator::loadStateJson(R"({"language": 7})")); // any non-zero value is English
        info.checkExternalLanguageChange();
        QCOMPARE(spy.count(), 2);
        QCOMPARE(info.locale(), English);
        QCOMPARE(translated("QSP::AppRootItem", "General"), QStringLiteral("General"));

        // A locale of the same language as the system's is left alone.
        info.setLocale(QLocale(QLocale::English, QLocale::UnitedKingdom));
        info.checkExternalLanguageChange();
        QCOMPARE(info.locale(), QLocale(QLocale::English, QLocale::UnitedKingdom));
        QCOMPARE(spy.count(), 3);
        QCOMPARE(PanelSimulator::callLog(), std::vector<std::string>{"setLanguage 1"}); // only from setLocale
    }

    void catalogue()
    {
        // One translator, installed for Chinese and removed for English however often the language switches.
        for (int i = 0; i < 3; ++i) {
            GlobalInfo::switchLanguage(Chinese);
            QCOMPARE(translated("CardBuzzer", "Buzzer"), QStringLiteral("蜂鸣器"));
            GlobalInfo::switchLanguage(English);
            QCOMPARE(translated("CardBuzzer", "Buzzer"), QStringLiteral("Buzzer"));
        }
        QCOMPARE(QCoreApplication::instance()->findChildren<QTranslator *>().size(), 1);
        // Without the catalogue in the resources the texts stay English, and it is found again when it is
        // back.
        qCleanupResources_settingres();
        GlobalInfo::switchLanguage(Chinese);
        QCOMPARE(translated("CardTime", "Time"), QStringLiteral("Time"));
        GlobalInfo::switchLanguage(English);
        qInitResources_settingres();
        GlobalInfo::switchLanguage(Chinese);
        QCOMPARE(translated("CardTime", "Time"), QStringLiteral("时间"));
    }

    void multilingualText()
    {
        auto *text = new QQuickText;
        int calls = 0;
        QSP::setMultilingualText(text, [&calls] {
            ++calls;
            return translated("CardDNS", "DNS Server");
        });
        QCOMPARE(text->text(), QStringLiteral("DNS Server"));
        GlobalInfo::switchLanguage(Chinese);
        QCOMPARE(text->text(), QStringLiteral("DNS服务器信息"));
        GlobalInfo::switchLanguage(English);
        QCOMPARE(text->text(), QStringLiteral("DNS Server"));
        QCOMPARE(calls, 3);
        delete text; // the connection dies with the item
        GlobalInfo::switchLanguage(Chinese);
        QCOMPARE(calls, 3);
        QSP::setMultilingualText(nullptr, [] { return QString(); });
    }
};

QTEST_MAIN(tst_GlobalInfo)
#include "tst_globalinfo.moc"
