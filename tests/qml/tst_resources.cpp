#include <QDir>
#include <QFile>
#include <QImage>
#include <QLibrary>
#include <QtTest>

#include "IconProvider.h"

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
        QStringList files;
        for (const QString &source : sources) {
            QTest::newRow(qPrintable(source)) << source.chopped(4);
            files << source.chopped(4) + QLatin1String(".icon");
        }
        QCOMPARE(QDir(QStringLiteral(":/setting/icons")).entryList(QDir::Files), files);
    }

    void icons()
    {
        QFETCH(QString, name);
        const QImage image = QSP::IconProvider::icon(name);
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

    void badIcons_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        const auto icon = [](quint32 width, quint32 height, int pixelBytes, const char *magic = "QSPI") {
            QByteArray bytes(magic);
            bytes.resize(12);
            qToLittleEndian<quint32>(width, bytes.data() + 4);
            qToLittleEndian<quint32>(height, bytes.data() + 8);
            return bytes + QByteArray(pixelBytes, '\xff');
        };
        QTest::newRow("no such icon") << "newsettings" << QByteArray();
        QTest::newRow("a path out of the icons") << "../translations/settings" << QByteArray();
        QTest::newRow("empty name") << "" << QByteArray();
        QTest::newRow("no header") << "" << QByteArray("QSPI");
        QTest::newRow("not an icon") << "" << icon(1, 1, 4, "\x89PNG");
        QTest::newRow("a pixel short") << "" << icon(2, 2, 12);
        QTest::newRow("a byte too many") << "" << icon(1, 1, 5);
        QTest::newRow("no width") << "" << icon(0, 1, 0);
        QTest::newRow("sides that overflow") << "" << icon(0x80000000u, 2, 0);
        QTest::newRow("too wide") << "" << icon(5000, 1, 20000);
    }

    void badIcons()
    {
        // A bad name or a malformed icon gives a null image, never a crash or a read out of bounds.
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QVERIFY(QSP::IconProvider::icon(name).isNull());
        QVERIFY(QSP::IconProvider::decode(bytes).isNull());
    }

    void requestedSizes_data()
    {
        // As Qt scales a decoded image to an Image's sourceSize: down only, by the smaller ratio.
        QTest::addColumn<QSize>("requested");
        QTest::addColumn<QSize>("expected");
        QTest::newRow("none") << QSize() << QSize(48, 48);
        QTest::newRow("smaller") << QSize(24, 24) << QSize(24, 24);
        QTest::newRow("larger") << QSize(96, 96) << QSize(48, 48);
        QTest::newRow("width only") << QSize(12, 0) << QSize(12, 12);
        QTest::newRow("height only") << QSize(0, 36) << QSize(36, 36);
        QTest::newRow("the smaller side decides") << QSize(40, 20) << QSize(20, 20);
    }

    void requestedSizes()
    {
        QFETCH(QSize, requested);
        QFETCH(QSize, expected);
        QSP::IconProvider provider;
        QSize size;
        const QImage image = provider.requestImage(QStringLiteral("newsetting"), &size, requested);
        QCOMPARE(image.size(), expected);
        QCOMPARE(size, expected);
    }
};

QTEST_GUILESS_MAIN(tst_Resources)
#include "tst_resources.moc"
