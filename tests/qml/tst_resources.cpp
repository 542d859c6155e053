#include <QDir>
#include <QFile>
#include <QImage>
#include <QLibrary>
#include <QTranslator>
#include <QtTest>

/// The resource bundles that loading the library registers.
class tst_Resources : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void icons_data();
    void icons();
    void noStrayIcons();
    void catalogue();
};

static const char *const s_icons[] = {
    "1@2x.png",           "2@2x.png",          "3@2x.png",         "4@2x.png",        "close.png",
    "down_arrow.png",     "leftArrow0@2x.png", "loading@2x.png",   "newbright.png",   "newbuzzer.png",
    "newcloud.png",       "newdecrease.png",   "newdefault.png",   "newdns.png",      "newexit.png",
    "newincrease.png",    "newlanguage.png",   "newnetwork.png",   "newnetwork1.png", "newrefresh.png",
    "newrestart.png",     "newsetting.png",    "newtickgreen.png", "newtime.png",     "newversion.png",
    "rightArrow0@2x.png", "singal4G_0.png",    "singal4G_1.png",   "singal4G_2.png",  "singal4G_3.png",
    "singal4G_4.png",     "singal4G_5.png",    "tickGray.png",
};

static QLibrary s_library(QStringLiteral(QSP_PLUGIN_PATH));

void tst_Resources::initTestCase()
{
    QVERIFY(!QFile::exists(QStringLiteral(":/setting/translations/settings.qm")));
    QVERIFY2(s_library.load(), qPrintable(s_library.errorString()));
    QVERIFY(QFile::exists(QStringLiteral(":/setting/translations/settings.qm")));
}

void tst_Resources::icons_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : s_icons)
        QTest::newRow(name) << QString::fromLatin1(name);
}

void tst_Resources::icons()
{
    QFETCH(QString, name);
    const QImage image(QStringLiteral(":/setting/icons/") + name);
    QVERIFY(!image.isNull());
    QCOMPARE(image.width(), image.height());
    QVERIFY(image.width() >= 24);
    QVERIFY(image.hasAlphaChannel());
    // Drawn, not empty: some pixels are opaque, the corners are transparent.
    int opaque = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            opaque += qAlpha(image.pixel(x, y)) > 200;
    }
    QVERIFY(opaque > image.width());
    QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
}

void tst_Resources::noStrayIcons()
{
    QCOMPARE(QDir(QStringLiteral(":/setting/icons")).entryList(QDir::Files).size(), int(std::size(s_icons)));
}

void tst_Resources::catalogue()
{
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral(":/setting/translations/settings.qm")));
    QCOMPARE(translator.language(), QStringLiteral("zh_CN"));
    QCOMPARE(translator.translate("QSP::AppRootItem", "Settings"), QStringLiteral("设置"));
    QCOMPARE(translator.translate("CardDNS", "DNS 1"), QStringLiteral("DNS 1"));
}

QTEST_GUILESS_MAIN(tst_Resources)
#include "tst_resources.moc"
