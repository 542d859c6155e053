#include <QDir>
#include <QFile>
#include <QImage>
#include <QLibrary>
#include <QtTest>

/// The resource bundles that loading the library registers.
class tst_Resources : public QObject
{
    Q_OBJECT

    QLibrary m_library{QStringLiteral(QSP_PLUGIN_PATH)};

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(!QFile::exists(QStringLiteral(":/setting/translations/settings.qm")));
        QVERIFY2(m_library.load(), qPrintable(m_library.errorString()));
        QVERIFY(QFile::exists(QStringLiteral(":/setting/translations/settings.qm")));
    }

    void icons_data()
    {
        // Every icon drawn as SVG is rendered into the resources, and nothing else is there.
        QTest::addColumn<QString>("name");
        const QStringList sources =
            QDir(QStringLiteral(QSP_ICON_SOURCES)).entryList({QStringLiteral("*.svg")});
        QVERIFY(sources.size() > 20);
        QStringList names;
        for (const QString &source : sources)
            QTest::newRow(qPrintable(source)) << (names << source.chopped(4) + QLatin1String(".png")).last();
        QCOMPARE(QDir(QStringLiteral(":/setting/icons")).entryList(QDir::Files), names);
    }

    void icons()
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
};

QTEST_GUILESS_MAIN(tst_Resources)
#include "tst_resources.moc"
