// The General, Version and Language pages, driven as a host drives the screen: brightness, buzzer and clock;
// the serial number with the QR image it writes; the language list across a language switched elsewhere.

#include "BeepSwitch.h"
#include "BrightButton.h"
#include "CardBrightness.h"
#include "CardTime.h"
#include "GlobalInfo.h"
#include "PanelSimulator.h"
#include "ScreenFixture.h"
#include "TimeEditPopup.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QtQuick/private/qquickimagebase_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtQuickTemplates2/private/qquickslider_p.h>
#include <QtTest>

using HMI::PanelSimulator;
using QSP::TimeEditPopup;
using Root = QSP::AppRootItem;

namespace {

/// The logged calls that start with @p prefix, in call order.
QStringList logged(const std::string &prefix)
{
    QStringList lines;
    for (const auto &line : PanelSimulator::callLog()) {
        if (line.rfind(prefix, 0) == 0)
            lines << QString::fromStdString(line);
    }
    return lines;
}

QStringList lines(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char('|'));
}

bool shows(QQuickItem *under, const char *text)
{
    return ScreenFixture::findText(under, QString::fromUtf8(text)) != nullptr;
}

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
    const QUrl tick(QStringLiteral("image://qspicon/newtickgreen"));
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
    return PanelSimulator::loadStateJson(QJsonDocument(state).toJson().toStdString()) &&
           QMetaObject::invokeMethod(card, "loadSerialNumber");
}

} // namespace

class tst_Pages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void stepButtons_data();
    void stepButtons();
    void sliderDrag_data();
    void sliderDrag();
    void buzzerSwitch();
    void setDateAndTime_data();
    void setDateAndTime();
    void clockFollowsLanguage();
    void versionCardFailures();
    void qrImageEncodesSerial_data();
    void qrImageEncodesSerial();
    void externalChineseAndBack_data();
    void externalChineseAndBack();

private:
    /// The minus button comes first in the row, the plus button last.
    QQuickItem *stepButton(bool increment) const
    {
        return m_brightness->findChildren<QSP::BrightButton *>().value(increment);
    }
    void press(QQuickItem *item) { QTest::mousePress(f.window(), Qt::LeftButton, {}, f.centreOf(item)); }
    QString qrFile() const { return m_tmp.path() + QStringLiteral("/barcodeImg.png"); }
    /// A plain file where the temporary directory's parent should be makes every save fail.
    void useTempDir(bool writable)
    {
        qputenv("TMPDIR", (writable ? m_tmp.path() : m_tmp.path() + QStringLiteral("/blocker/sub")).toUtf8());
    }

    QTemporaryDir m_tmp;
    ScreenFixture f;
    QSP::CardBrightness *m_brightness = nullptr;
    QSP::CardTime *m_time = nullptr;
};

void tst_Pages::initTestCase()
{
    QFile blocker(m_tmp.path() + QStringLiteral("/blocker"));
    QVERIFY(m_tmp.isValid() && blocker.open(QIODevice::WriteOnly));
    useTempDir(true);
    // A level outside 1..32 in the panel's state: brought into range, never turning the buttons around.
    QVERIFY(PanelSimulator::loadStateJson(R"({"brightness": 40, "buzzer": true})"));
    PanelSimulator::clearCallLog();
    QVERIFY(f.load(QSize(1024, 600)));
    QVERIFY(f.showPage(Root::MI_General));
    m_brightness = qobject_cast<QSP::CardBrightness *>(f.card(Root::Card_Brightness));
    m_time = qobject_cast<QSP::CardTime *>(f.card(Root::Card_Time));
    QVERIFY(m_brightness && m_time);
    // The level is shown in range, and nothing is written while the card is made.
    QVERIFY(shows(m_brightness, "32"));
    QVERIFY(logged("setBright").isEmpty());
}

void tst_Pages::stepButtons_data()
{
    QTest::addColumn<int>("start"); // 0: the level as read (the first row runs first)
    QTest::addColumn<bool>("increment");
    QTest::addColumn<int>("holdMs"); // 0: a tap; -1: the finger slides off the button before it is lifted
    QTest::addColumn<QStringList>("writes");
    QTest::newRow("minus tapped at 40") << 0 << false << 0 << lines("setBright 31 0|setBright 31 1");
    QTest::newRow("plus held at 32") << 32 << true << 800 << lines("setBright 32 1");
    QTest::newRow("minus held at 1") << 1 << false << 800 << lines("setBright 1 1");
    QTest::newRow("plus held from 30 stops at 32")
        << 30 << true << 800 << lines("setBright 31 0|setBright 32 0|setBright 32 1");
    // The step made by a cancelled press is kept by the system all the same: saved when the button lets go,
    // and again when the press is cancelled.
    QTest::newRow("minus slid off") << 20 << false << -1
                                    << lines("setBright 19 0|setBright 19 1|setBright 19 1");
    QTest::newRow("plus slid off") << 20 << true << -1
                                   << lines("setBright 21 0|setBright 21 1|setBright 21 1");
}

void tst_Pages::stepButtons()
{
    QFETCH(int, start);
    QFETCH(bool, increment);
    QFETCH(int, holdMs);
    if (start)
        m_brightness->setBrightnessValue(start);
    PanelSimulator::clearCallLog();

    // Held for several auto-repeat steps once the card pool's press delay has passed.
    QQuickItem *button = stepButton(increment);
    press(button);
    QTRY_VERIFY(button->property("pressed").toBool());
    QTest::qWait(qMax(holdMs, 0));
    const QPoint off = f.centreOf(button) + QPoint(int(button->width()) * (increment ? 1 : -1), 0);
    if (holdMs < 0)
        QTest::mouseMove(f.window(), off);
    QTest::mouseRelease(f.window(), Qt::LeftButton, {}, holdMs < 0 ? off : f.centreOf(button));

    QTEST(logged("setBright"), "writes");
    // Every repetition clicks, also at the limit; a cancelled press does not.
    QVERIFY(ScreenFixture::calls("beep 1") >= (holdMs > 0 ? 2 : holdMs == 0 ? 1 : 0));
    QVERIFY(ScreenFixture::findText(m_brightness, QString::number(m_brightness->brightnessValue())));
}

void tst_Pages::sliderDrag_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<qreal>("towards"); // share of the slider's width, beyond its ends
    QTest::addColumn<int>("level");
    QTest::newRow("down to 1") << 20 << -0.2 << 1;
    QTest::newRow("up to 32") << 5 << 1.05 << 32;
}

void tst_Pages::sliderDrag()
{
    QFETCH(int, from);
    QFETCH(qreal, towards);
    QFETCH(int, level);
    m_brightness->setBrightnessValue(from);
    auto *slider = m_brightness->findChild<QQuickSlider *>();
    QVERIFY(slider);
    auto *handle = slider->property("handle").value<QQuickItem *>();
    QSignalSpy changes(m_brightness, &QSP::CardBrightness::brightnessValueChanged);
    PanelSimulator::clearCallLog();

    const QPoint start = f.centreOf(handle);
    const int end = qBound(0, qRound(slider->mapToScene(QPointF(slider->width() * towards, 0)).x()),
                           f.window()->width() - 1);
    press(handle);
    QTRY_VERIFY(slider->property("pressed").toBool());
    for (int step = 1; step <= 12; ++step)
        QTest::mouseMove(f.window(), QPoint(start.x() + (end - start.x()) * step / 12, start.y()), 10);
    QTest::mouseRelease(f.window(), Qt::LeftButton, {}, QPoint(end, start.y()));

    // One click on touching, every change applied at once, saved on release.
    QCOMPARE(ScreenFixture::calls("beep 1"), 1);
    QStringList writes = logged("setBright");
    QVERIFY(changes.count() >= 2);
    QCOMPARE(writes.size(), changes.count() + 1);
    QCOMPARE(writes.takeLast(), QStringLiteral("setBright %1 1").arg(level));
    QCOMPARE(writes.last(), QStringLiteral("setBright %1 0").arg(level));
    QVERIFY(ScreenFixture::findText(m_brightness, QString::number(level)));
}

void tst_Pages::buzzerSwitch()
{
    // Changed by another program while the screen is closed: each opening shows the panel's state.
    auto *toggle = f.card(Root::Card_Buzzer)->findChild<QSP::BeepSwitch *>();
    QVERIFY(toggle);
    for (bool on : {false, true}) {
        f.close();
        QVERIFY(PanelSimulator::loadStateJson(on ? R"({"buzzer": true})" : R"({"buzzer": false})"));
        f.open();
        QCOMPARE(toggle->on(), on);
    }
    // Switched off, it clicks a last time; switched on, it is silent.
    for (bool wasOn : {true, false}) {
        PanelSimulator::clearCallLog();
        QVERIFY(f.clickButton(toggle));
        QCOMPARE(ScreenFixture::calls("beep"), wasOn ? 1 : 0);
        QCOMPARE(logged("setBuzzerOn"), QStringList(QStringLiteral("setBuzzerOn %1").arg(int(!wasOn))));
        QCOMPARE(toggle->on(), !wasOn);
    }
}

void tst_Pages::setDateAndTime_data()
{
    QTest::addColumn<bool>("settable");
    QTest::newRow("accepted") << true;
    QTest::newRow("refused") << false;
}

void tst_Pages::setDateAndTime()
{
    QFETCH(bool, settable);
    const QString shown = QStringLiteral("2030/05/17 Fri 08:09:10");
    QTRY_VERIFY(m_time->currentDateTime() != shown); // back on the running clock
    QVERIFY(PanelSimulator::loadStateJson(settable ? R"({"clockSettable": true})"
                                                   : R"({"clockSettable": false})"));
    QVERIFY(f.clickButton(m_time->findChild<QSP::BeepButton *>()));
    auto *popup = m_time->findChild<TimeEditPopup *>();
    QVERIFY(popup);
    QTRY_VERIFY(popup->isOpened());
    const QStringList typed = lines("2030|5|17|8|9|10");
    for (int field = TimeEditPopup::Year; field <= TimeEditPopup::Second; ++field) {
        QVERIFY(f.click(popup->inputField(TimeEditPopup::InputType(field))));
        QTest::keyClick(f.window(), Qt::Key_Delete);
        for (const QChar digit : typed.at(field))
            QTest::keyClick(f.window(), digit.toLatin1());
    }
    PanelSimulator::clearCallLog();
    QVERIFY(f.clickButton(popup->confirmButton()));

    const QDateTime chosen(QDate(2030, 5, 17), QTime(8, 9, 10));
    QCOMPARE(logged("setSystemTime"),
             QStringList(QStringLiteral("setSystemTime %1").arg(chosen.toSecsSinceEpoch())));
    QCOMPARE(logged("syncHwclock").size(), settable ? 1 : 0);
    // Accepted: shown at once, not at the next tick. Refused: nothing changes.
    QCOMPARE(ScreenFixture::findText(m_time, shown) != nullptr, settable);
    QTRY_VERIFY(!popup->isVisible());
}

void tst_Pages::clockFollowsLanguage()
{
    QSignalSpy changed(m_time, &QSP::CardTime::currentDateTimeChanged);
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::Chinese, QLocale::China));
    QCOMPARE(changed.count(), 1); // at once, not at the next tick
    QVERIFY2(m_time->currentDateTime().section(QLatin1Char(' '), 1, 1).startsWith(QStringLiteral("周")),
             qPrintable(m_time->currentDateTime())); // 周一 to 周日
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
    QTRY_VERIFY_WITH_TIMEOUT(changed.count() > 2, 2500); // the clock runs on
}

void tst_Pages::versionCardFailures()
{
    // No image could be written: the number with the placeholder.
    const QRegularExpression saveFailed(QStringLiteral("could not write the QR code"));
    useTempDir(false);
    QTest::ignoreMessage(QtWarningMsg, saveFailed);
    QVERIFY(f.showPage(Root::MI_Version));
    QQuickItem *card = f.card(Root::Card_Version);
    QVERIFY(card);
    QVERIFY(shows(card, "HMI7-2026-000123") && shows(card, "QR Code"));
    useTempDir(true);
    QVERIFY(loadSerial(card, QStringLiteral("FIRST-1")));
    QTRY_VERIFY(!shows(card, "QR Code"));

    // A later failure shows the new number but keeps the last image and its URL.
    useTempDir(false);
    QTest::ignoreMessage(QtWarningMsg, saveFailed);
    QVERIFY(loadSerial(card, QStringLiteral("OTHER-1")));
    useTempDir(true);
    QVERIFY(shows(card, "OTHER-1") && !shows(card, "QR Code"));
    QCOMPARE(decodeQr(qrFile()), QStringLiteral("FIRST-1"));

    // A cloud icon that fails to load (Image.Error = 3) is marked by a red "!" until it loads (Ready = 1).
    for (const auto &[status, marked] :
         {std::pair{1, false}, std::pair{3, true}, std::pair{3, true}, std::pair{1, false}}) {
        QVERIFY(QMetaObject::invokeMethod(card, "checkIconStatus", Q_ARG(int, status)));
        QQuickItem *mark = ScreenFixture::findText(card, QStringLiteral("!"));
        QCOMPARE(mark && mark->property("color").value<QColor>() == Qt::red, marked);
    }
}

void tst_Pages::qrImageEncodesSerial_data()
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

void tst_Pages::qrImageEncodesSerial()
{
    QFETCH(QString, serial);
    QFETCH(QString, encoded);
    QVERIFY(f.showPage(Root::MI_Version));
    QQuickItem *card = f.card(Root::Card_Version);
    QVERIFY(card && loadSerial(card, serial));
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

void tst_Pages::externalChineseAndBack_data()
{
    QTest::addColumn<bool>("reopen");
    QTest::newRow("noticed on opening") << true;
    QTest::newRow("noticed on a page change") << false;
}

void tst_Pages::externalChineseAndBack()
{
    QFETCH(bool, reopen);

    // English: the one row is ticked and highlighted, and choosing it again (or a row that does not exist)
    // changes nothing.
    QVERIFY(f.showPage(Root::MI_Language));
    QQuickItem *card = f.card(Root::Card_Language);
    QVERIFY(card && rowMarkedCurrent(card));
    QSignalSpy localeSpy(&QSP::GlobalInfo::instance(), &QSP::GlobalInfo::localeChanged);
    PanelSimulator::clearCallLog();
    QVERIFY(f.clickButton(ScreenFixture::findText(card, QStringLiteral("English"))));
    QObject *model = card->property("languageModel").value<QObject *>();
    QVERIFY(QMetaObject::invokeMethod(model, "setCurrentLanguage", Q_ARG(int, 1)));
    QVERIFY(QMetaObject::invokeMethod(model, "setCurrentLanguage", Q_ARG(int, -1)));
    QCOMPARE(localeSpy.count(), 0);

    // Another program switches the panel to Chinese.
    QVERIFY(PanelSimulator::loadStateJson(R"({"language": 0})"));
    if (reopen) {
        f.close();
        f.open();
    }
    QVERIFY(f.showPage(Root::MI_Version));
    QCOMPARE(localeSpy.count(), 1);
    QVERIFY(shows(f.root(), "语言设置") && shows(f.root(), "序列号"));
    QVERIFY(f.showPage(Root::MI_Language));
    QVERIFY(!rowMarkedCurrent(card));
    QCOMPARE(ScreenFixture::calls("setLanguage"), 0);

    // Back to English in one click (a language's own name is never translated): the whole screen at once,
    // and the system told.
    QVERIFY(f.clickButton(ScreenFixture::findText(card, QStringLiteral("English"))));
    QVERIFY(ScreenFixture::calls("setLanguage") == 1 && ScreenFixture::calls("setLanguage 1") == 1);
    QVERIFY(shows(f.root(), "Language") && rowMarkedCurrent(card));
    QVERIFY(f.showPage(Root::MI_Version));
    QVERIFY(shows(f.root(), "Serial Number") && !shows(f.root(), "版本信息"));
}

QTEST_MAIN(tst_Pages)
#include "tst_pages.moc"
