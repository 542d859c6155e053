// The Language and Version pages, driven as a host drives the screen: the language list and its tick
// across a language switched elsewhere and back, and the serial number with the QR image it writes.

#include "GlobalInfo.h"
#include "PanelSimulator.h"
#include "ScreenFixture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QQuickItem>
#include <QTemporaryDir>
#include <QtQuick/private/qquickimagebase_p.h>
#include <QtTest>

namespace {

using Root = QSP::AppRootItem;

/// The first visible item under @p under (itself included) that @p match accepts, or null.
QQuickItem *shownItem(QQuickItem *under, const std::function<bool(QQuickItem *)> &match)
{
    if (!under || !under->isVisible())
        return nullptr;
    if (match(under))
        return under;
    for (QQuickItem *child : under->childItems()) {
        if (QQuickItem *found = shownItem(child, match))
            return found;
    }
    return nullptr;
}

/// Whether the language row shows its tick and its grey highlight.
bool rowMarkedCurrent(QQuickItem *card)
{
    const QUrl tick(QStringLiteral("qrc:/setting/icons/newtickgreen.png"));
    return shownItem(card, [&](QQuickItem *i) { return i->property("source").toUrl() == tick; }) &&
           shownItem(card, [](QQuickItem *i) {
               return i->inherits("QQuickRectangle") &&
                      i->property("color").value<QColor>() == QColor(0xF2F3F5);
           });
}

/// What a phone's reader finds in the image: the decoded text, or a null string when none.
QString decodeQr(const QString &file)
{
    QProcess zbar;
    zbar.start(QStringLiteral("zbarimg"), {QStringLiteral("--raw"), QStringLiteral("-q"), file});
    if (!zbar.waitForFinished(30000) || zbar.exitCode() != 0)
        return QString();
    const QString text = QString::fromUtf8(zbar.readAllStandardOutput());
    return text.endsWith(QLatin1Char('\n')) ? text.chopped(1) : text;
}

bool loadSerial(QObject *card, const QString &serial)
{
    const QJsonObject state{{QStringLiteral("serial"), serial}};
    return HMI::PanelSimulator::loadStateJson(QJsonDocument(state).toJson().toStdString()) &&
           QMetaObject::invokeMethod(card, "loadSerialNumber");
}

} // namespace

class TestLanguageVersion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void versionCardFailures();
    void qrImageEncodesSerial_data();
    void qrImageEncodesSerial();
    void externalChineseAndBack_data();
    void externalChineseAndBack();

private:
    QString qrFile() const { return m_tmp.path() + QStringLiteral("/barcodeImg.png"); }
    /// A plain file where the temporary directory's parent should be makes every save fail.
    void useTempDir(bool writable)
    {
        qputenv("TMPDIR", (writable ? m_tmp.path() : m_tmp.path() + QStringLiteral("/blocker/sub")).toUtf8());
    }
    bool shows(QQuickItem *under, const char *text) const
    {
        return ScreenFixture::findText(under, QString::fromUtf8(text)) != nullptr;
    }

    QTemporaryDir m_tmp;
    ScreenFixture f;
};

void TestLanguageVersion::initTestCase()
{
    QFile blocker(m_tmp.path() + QStringLiteral("/blocker"));
    QVERIFY(m_tmp.isValid() && blocker.open(QIODevice::WriteOnly));
    useTempDir(true);
    QVERIFY(f.load(QSize(1024, 600)));
}

void TestLanguageVersion::versionCardFailures()
{
    // No image could be written: the number with the placeholder.
    const QRegularExpression saveFailed(QStringLiteral("could not write the QR code"));
    useTempDir(false);
    QTest::ignoreMessage(QtWarningMsg, saveFailed);
    QVERIFY(f.showPage(Root::MI_Version));
    QQuickItem *card = f.card(Root::Card_Version);
    QVERIFY(card);
    QVERIFY(shows(card, "HMI7-2026-000123") && shows(card, "QR Code"));
    QVERIFY(card->property("qrCodeUrl").toUrl().isEmpty());
    QSignalSpy urlSpy(card, SIGNAL(qrCodeUrlChanged()));
    QVERIFY(urlSpy.isValid());
    useTempDir(true);
    QVERIFY(loadSerial(card, QStringLiteral("FIRST-1")));
    QCOMPARE(urlSpy.count(), 1);
    QCOMPARE(card->property("qrCodeUrl").toUrl(), QUrl::fromLocalFile(qrFile()));
    QTRY_VERIFY(!shows(card, "QR Code"));

    // A later failure shows the new number but keeps the last image and its URL.
    useTempDir(false);
    QTest::ignoreMessage(QtWarningMsg, saveFailed);
    QVERIFY(loadSerial(card, QStringLiteral("OTHER-1")));
    useTempDir(true);
    QCOMPARE(urlSpy.count(), 1);
    QVERIFY(shows(card, "OTHER-1") && !shows(card, "QR Code"));
    QCOMPARE(decodeQr(qrFile()), QStringLiteral("FIRST-1"));

    // A cloud icon that fails to load (Image.Error = 3) is marked by a red "!" until it loads (Ready = 1).
    QSignalSpy iconSpy(card, SIGNAL(iconErrorChanged()));
    QVERIFY(iconSpy.isValid());
    for (const auto &[status, marked] :
         {std::pair{1, false}, std::pair{3, true}, std::pair{3, true}, std::pair{1, false}}) {
        QVERIFY(QMetaObject::invokeMethod(card, "checkIconStatus", Q_ARG(int, status)));
        QQuickItem *mark = ScreenFixture::findText(card, QStringLiteral("!"));
        QCOMPARE(mark && mark->property("color").value<QColor>() == Qt::red, marked);
    }
    QCOMPARE(iconSpy.count(), 2);
}

void TestLanguageVersion::qrImageEncodesSerial_data()
{
    QTest::addColumn<QString>("serial");
    QTest::addColumn<QString>("encoded"); // null: a blank image, nothing a reader can find
    QString latin;
    for (int i = 0; i < 1300; ++i)
        latin += QLatin1Char(char('a' + i % 26));
    QTest::newRow("short") << QStringLiteral("HMI7-0001") << QStringLiteral("HMI7-0001");
    QTest::newRow("long") << latin.left(100) << latin.left(100);
    QTest::newRow("empty") << QString() << QStringLiteral(" ");
    QTest::newRow("placeholder's text, not shown") << QStringLiteral("QR Code") << QStringLiteral("QR Code");
    QTest::newRow("too long to fit") << latin.left(1000) << QString();
    QTest::newRow("more than a symbol holds") << latin << QString();
}

void TestLanguageVersion::qrImageEncodesSerial()
{
    QFETCH(QString, serial);
    QFETCH(QString, encoded);
    QVERIFY(f.showPage(Root::MI_Version));
    QQuickItem *card = f.card(Root::Card_Version);
    QVERIFY(card);
    QVERIFY(loadSerial(card, serial));
    const QString shown = serial == QLatin1String("QR Code") ? QString() : serial;
    QCOMPARE(card->property("serialNumber").toString(), shown);
    QVERIFY(shown.isEmpty() || ScreenFixture::findText(card, shown));
    QCOMPARE(decodeQr(qrFile()), encoded);

    // What is on screen is the new image, not the one read before from the same file.
    const QImage image = QImage(qrFile()).convertToFormat(QImage::Format_RGB32);
    QVERIFY(!image.isNull());
    auto *onScreen = qobject_cast<QQuickImageBase *>(shownItem(card, [this](QQuickItem *i) {
        return i->property("source").toUrl() == QUrl::fromLocalFile(qrFile());
    }));
    QVERIFY(onScreen);
    QTRY_COMPARE(onScreen->image().convertToFormat(QImage::Format_RGB32), image);
    QTRY_VERIFY(!ScreenFixture::visibleTexts(card).contains(QStringLiteral("QR Code")));

    // Whole-pixel modules, black on white, with a white margin.
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const bool edge = x == 0 || y == 0 || x == image.width() - 1 || y == image.height() - 1;
            QVERIFY(image.pixel(x, y) == qRgb(255, 255, 255) ||
                    (!edge && image.pixel(x, y) == qRgb(0, 0, 0)));
        }
    }
}

void TestLanguageVersion::externalChineseAndBack_data()
{
    QTest::addColumn<bool>("reopen");
    QTest::newRow("noticed on opening") << true;
    QTest::newRow("noticed on a page change") << false;
}

void TestLanguageVersion::externalChineseAndBack()
{
    QFETCH(bool, reopen);

    // English: the one row is ticked and highlighted, and choosing it again (or a row that does not exist)
    // changes nothing.
    QVERIFY(f.showPage(Root::MI_Language));
    QQuickItem *card = f.card(Root::Card_Language);
    QVERIFY(card && rowMarkedCurrent(card));
    QSignalSpy localeSpy(&QSP::GlobalInfo::instance(), &QSP::GlobalInfo::localeChanged);
    HMI::PanelSimulator::clearCallLog();
    QVERIFY(f.clickButton(ScreenFixture::findText(card, QStringLiteral("English"))));
    QObject *model = card->property("languageModel").value<QObject *>();
    QVERIFY(QMetaObject::invokeMethod(model, "setCurrentLanguage", Q_ARG(int, 1)));
    QVERIFY(QMetaObject::invokeMethod(model, "setCurrentLanguage", Q_ARG(int, -1)));
    QCOMPARE(localeSpy.count(), 0);

    // Another program switches the panel to Chinese.
    QVERIFY(HMI::PanelSimulator::loadStateJson(R"({"language": 0})"));
    if (reopen) {
        f.close();
        f.open();
    } else {
        QVERIFY(f.showPage(Root::MI_Version));
    }
    QCOMPARE(localeSpy.count(), 1);
    QVERIFY(f.showPage(Root::MI_Version));
    QVERIFY(shows(f.root(), "语言设置") && shows(f.root(), "序列号"));
    QVERIFY(f.showPage(Root::MI_Language));
    QVERIFY(!rowMarkedCurrent(card));
    QCOMPARE(ScreenFixture::calls("setLanguage"), 0);

    // Back to English in one click (a language's own name is never translated): the whole screen at once,
    // and the system told.
    QVERIFY(f.clickButton(ScreenFixture::findText(card, QStringLiteral("English"))));
    QCOMPARE(ScreenFixture::calls("setLanguage"), 1);
    QCOMPARE(ScreenFixture::calls("setLanguage 1"), 1);
    QVERIFY(shows(f.root(), "Language") && rowMarkedCurrent(card));
    QVERIFY(f.showPage(Root::MI_Version));
    QVERIFY(shows(f.root(), "Serial Number") && !shows(f.root(), "版本信息"));
}

QTEST_MAIN(TestLanguageVersion)
#include "tst_languageversion.moc"
