#include "GlobalInfo.h"
#include "MeyerSingleton.h"
#include "PanelSimulator.h"

#include <QGuiApplication>
#include <QProcess>
#include <QQuickWindow>
#include <QScreen>
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

std::vector<std::string> languageCalls()
{
    std::vector<std::string> calls;
    for (const auto &line : PanelSimulator::callLog()) {
        if (line.rfind("setLanguage", 0) == 0)
            calls.push_back(line);
    }
    return calls;
}

} // namespace

class tst_GlobalInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void tavrexName_data();
    void tavrexName();
    void screenSizeAndOrientation();
    void setLocale_data();
    void setLocale();
    void externalLanguageChange();
    void translatorReusedAndRemoved();
    void failedCatalogueLoadLeavesEnglish();
    void multilingualText();
};

void tst_GlobalInfo::initTestCase()
{
    // Nothing has touched the global information yet: its creation tells the system the language once.
    PanelSimulator::clearCallLog();
    QCOMPARE(GlobalInfo::instance().locale(), English);
    QCOMPARE(PanelSimulator::callLog(), std::vector<std::string>{"setLanguage 1"});
    QVERIFY(!GlobalInfo::instance().isStartedFromTavrex()); // the test's own name
}

void tst_GlobalInfo::init()
{
    GlobalInfo::switchLanguage(English);
    QVERIFY(PanelSimulator::loadStateJson("{}"));
    PanelSimulator::clearCallLog();
}

void tst_GlobalInfo::tavrexName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("tavrex");
    QTest::newRow("tavrex") << QStringLiteral("tavrex") << true;
    QTest::newRow("other case") << QStringLiteral("Tavrex") << false;
    QTest::newRow("longer") << QStringLiteral("tavrex2") << false;
    QTest::newRow("empty") << QString() << false;
}

void tst_GlobalInfo::tavrexName()
{
    // The flag is fixed when the object is made, once per process: ask a fresh process each time.
    QFETCH(QString, name);
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("TST_GLOBALINFO_APPNAME"), name);
    env.insert(QStringLiteral("TST_GLOBALINFO_CHILD"), QStringLiteral("1"));
    child.setProcessEnvironment(env);
    child.start(QCoreApplication::applicationFilePath(), {});
    QVERIFY(child.waitForFinished(30000));
    QCOMPARE(child.exitCode(), 0);
    QFETCH(bool, tavrex);
    QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArray(tavrex ? "tavrex" : "not tavrex"));
}

void tst_GlobalInfo::screenSizeAndOrientation()
{
    GlobalInfo &info = GlobalInfo::instance();
    // Before the host hands over the screen size.
    QCOMPARE(info.screenSize(), QSize(-1, -1));
    QVERIFY(!info.isScreenPortrait());
    QVERIFY(!info.isNativePortrait());
    QVERIFY(info.isMenuFill());

    info.setScreenWidth(1024);
    info.setScreenHeight(600);
    QVERIFY(!info.isScreenPortrait());
    QVERIFY(!info.isMenuFill());
    info.setScreenWidth(800);
    info.setScreenHeight(1280);
    QVERIFY(info.isScreenPortrait());
    QVERIFY(info.isNativePortrait());
    QVERIFY(!info.isMenuFill());
    info.setScreenWidth(799);
    QVERIFY(info.isMenuFill());

    // Measured once from the window's screen, then fixed.
    info.initializeNativeOrientation(nullptr);
    QVERIFY(info.isNativePortrait());
    QQuickWindow window;
    const QSizeF mm = window.screen()->physicalSize();
    info.initializeNativeOrientation(&window);
    const bool measured = qRound(mm.width()) < qRound(mm.height());
    QCOMPARE(info.isNativePortrait(), measured);
    info.setScreenWidth(measured ? 1280 : 480);
    info.setScreenHeight(measured ? 800 : 800);
    QCOMPARE(info.isNativePortrait(), measured);
}

void tst_GlobalInfo::setLocale_data()
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
    QTest::newRow("English, United Kingdom") << QLocale(QLocale::English, QLocale::UnitedKingdom) << 1
                                             << QStringLiteral("setLanguage 1") << QStringLiteral("Connect");
}

void tst_GlobalInfo::setLocale()
{
    QFETCH(QLocale, locale);
    GlobalInfo &info = GlobalInfo::instance();
    QSignalSpy spy(&info, &GlobalInfo::localeChanged);
    info.setLocale(locale);
    QTEST(spy.count(), "signals");
    QCOMPARE(info.locale(), locale);
    QFETCH(QString, systemCall);
    QCOMPARE(languageCalls(), systemCall.isEmpty() ? std::vector<std::string>{}
                                                   : std::vector<std::string>{systemCall.toStdString()});
    QTEST(translated("CardWifi", "Connect"), "connect");
}

void tst_GlobalInfo::externalLanguageChange()
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
    QCOMPARE(languageCalls(), std::vector<std::string>{"setLanguage 1"}); // only from setLocale
}

void tst_GlobalInfo::translatorReusedAndRemoved()
{
    for (int i = 0; i < 3; ++i) {
        GlobalInfo::switchLanguage(Chinese);
        QCOMPARE(translated("CardBuzzer", "Buzzer"), QStringLiteral("蜂鸣器"));
        GlobalInfo::switchLanguage(English);
        QCOMPARE(translated("CardBuzzer", "Buzzer"), QStringLiteral("Buzzer"));
    }
    QCOMPARE(QCoreApplication::instance()->findChildren<QTranslator *>().size(), 1);
}

void tst_GlobalInfo::failedCatalogueLoadLeavesEnglish()
{
    qCleanupResources_settingres();
    GlobalInfo::switchLanguage(Chinese);
    QCOMPARE(translated("CardTime", "Time"), QStringLiteral("Time"));
    GlobalInfo::switchLanguage(English);
    qInitResources_settingres();
    GlobalInfo::switchLanguage(Chinese);
    QCOMPARE(translated("CardTime", "Time"), QStringLiteral("时间"));
}

void tst_GlobalInfo::multilingualText()
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

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsSet("TST_GLOBALINFO_CHILD")) {
        QCoreApplication app(argc, argv);
        QCoreApplication::setApplicationName(qEnvironmentVariable("TST_GLOBALINFO_APPNAME"));
        std::printf("%s\n", GlobalInfo::instance().isStartedFromTavrex() ? "tavrex" : "not tavrex");
        return 0;
    }
    QGuiApplication app(argc, argv);
    tst_GlobalInfo test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_globalinfo.moc"
