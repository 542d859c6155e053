// The screen on the Linux backend, loaded as a host loads it, against python3-dbusmock's services on a
// private bus: what a user does on the General, Language and Version pages and the Reboot button reaches
// timedated, logind, the backlight, the beeper and the settings file.

#include "BeepButton.h"
#include "BoardFiles.h"
#include "BrightButton.h"
#include "CardBrightness.h"
#include "CardTime.h"
#include "DbusMock.h"
#include "PanelSimulator.h"
#include "ScreenFixture.h"
#include "TimeEditPopup.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtTest>

#include <linux/input.h>

using Root = QSP::AppRootItem;

namespace {

bool shows(QQuickItem *under, const char *text)
{
    return ScreenFixture::findText(under, QString::fromUtf8(text)) != nullptr;
}

} // namespace

class tst_LinuxScreen : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void languageInTheSettingsFile();
    void brightnessAndBeep();
    void setTime();
    void serialAndReboot();

private:
    QString path(const QString &name) const { return m_tmp.path() + QLatin1Char('/') + name; }
    QJsonObject settings() const
    {
        return QJsonDocument::fromJson(readFile(path(QStringLiteral("settings.json")))).object();
    }

    QTemporaryDir m_tmp;
    DbusMock m_mock;
    ScreenFixture f;
};

void tst_LinuxScreen::initTestCase()
{
    QString why;
    if (!m_mock.start(&why))
        QSKIP(qPrintable(
            QStringLiteral("no private D-Bus here, the screen on the Linux backend is not tested: ") + why));
    QVERIFY(m_mock.startSystemServices(QStringLiteral("SN-HOST-0042"), QStringLiteral("LANG=zh_CN.UTF-8")));
    const QString backlight = path(QStringLiteral("sys/class/backlight/panel0/"));
    QVERIFY(writeFile(backlight + QStringLiteral("max_brightness"), "100\n") &&
            writeFile(backlight + QStringLiteral("brightness"), "50\n") &&
            writeFile(path(QStringLiteral("beeper")), QByteArray()));
    qputenv("QSP_PANEL", "linux");
    qputenv("QSP_SYSFS_ROOT", m_tmp.path().toUtf8());
    qputenv("QSP_BEEPER", path(QStringLiteral("beeper")).toUtf8());
    qputenv("QSP_SETTINGS", path(QStringLiteral("settings.json")).toUtf8());
    QVERIFY(f.load(QSize(1024, 600)));
}

void tst_LinuxScreen::languageInTheSettingsFile()
{
    // The screen starts in English, and says so in the settings file.
    QVERIFY(f.showPage(Root::MI_Version));
    QVERIFY(shows(f.root(), "Serial Number"));
    QCOMPARE(settings().value(QStringLiteral("language")).toString(), QStringLiteral("en"));

    // Another program writes Chinese into the file: the screen follows on the next page.
    QJsonObject outside = settings();
    outside.insert(QStringLiteral("language"), QStringLiteral("zh"));
    QVERIFY(writeFile(path(QStringLiteral("settings.json")), QJsonDocument(outside).toJson()));
    QVERIFY(f.showPage(Root::MI_General));
    QVERIFY(shows(f.root(), "语言设置"));

    // English, chosen on the screen, goes back to the file.
    QVERIFY(f.showPage(Root::MI_Language));
    QVERIFY(f.clickButton(ScreenFixture::findText(f.card(Root::Card_Language), QStringLiteral("English"))));
    QCOMPARE(settings().value(QStringLiteral("language")).toString(), QStringLiteral("en"));
    QVERIFY(shows(f.root(), "Language") && shows(f.root(), "Reboot"));
}

void tst_LinuxScreen::brightnessAndBeep()
{
    QVERIFY(f.showPage(Root::MI_General));
    auto *card = qobject_cast<QSP::CardBrightness *>(f.card(Root::Card_Brightness));
    QVERIFY(card);
    QCOMPARE(card->brightnessValue(), 16); // 50 of 100
    const qint64 beeped = readFile(path(QStringLiteral("beeper"))).size();

    QVERIFY(f.clickButton(card->findChildren<QSP::BrightButton *>().value(1)));
    // Level 17 of 32 is 52 of 100, in the device and kept in the settings.
    QTRY_COMPARE(readFile(path(QStringLiteral("sys/class/backlight/panel0/brightness"))), QByteArray("52\n"));
    QCOMPARE(settings().value(QStringLiteral("brightness")).toInt(), 17);
    QVERIFY(shows(card, "17"));
    // The touch clicked the buzzer: a tone and its end.
    QTRY_VERIFY(readFile(path(QStringLiteral("beeper"))).size() >= beeped + qint64(4 * sizeof(input_event)));
}

void tst_LinuxScreen::setTime()
{
    auto *card = qobject_cast<QSP::CardTime *>(f.card(Root::Card_Time));
    QVERIFY(card);
    m_mock.forget(QStringLiteral("org.freedesktop.timedate1"));
    QVERIFY(f.clickButton(card->findChild<QSP::BeepButton *>()));
    auto *popup = card->findChild<QSP::TimeEditPopup *>();
    QVERIFY(popup);
    QTRY_VERIFY(popup->isOpened());
    const QStringList typed{QStringLiteral("2030"), QStringLiteral("5"), QStringLiteral("17"),
                            QStringLiteral("8"),    QStringLiteral("9"), QStringLiteral("10")};
    for (int field = QSP::TimeEditPopup::Year; field <= QSP::TimeEditPopup::Second; ++field) {
        QVERIFY(f.click(popup->inputField(QSP::TimeEditPopup::InputType(field))));
        QTest::keyClick(f.window(), Qt::Key_Delete);
        for (const QChar digit : typed.at(field))
            QTest::keyClick(f.window(), digit.toLatin1());
    }
    QVERIFY(f.clickButton(popup->confirmButton()));
    // The screen's local time, in microseconds since the epoch.
    const qint64 usec = QDateTime(QDate(2030, 5, 17), QTime(8, 9, 10)).toSecsSinceEpoch() * 1000000;
    QTRY_COMPARE(m_mock.calls(QStringLiteral("org.freedesktop.timedate1")),
                 QStringList(QStringLiteral("SetTime %1 False False").arg(usec)));
}

void tst_LinuxScreen::serialAndReboot()
{
    QVERIFY(f.showPage(Root::MI_Version));
    QVERIFY(shows(f.card(Root::Card_Version), "SN-HOST-0042"));
    m_mock.forget(QStringLiteral("org.freedesktop.login1"));
    QVERIFY(f.click(ScreenFixture::findText(f.root(), QStringLiteral("Reboot"))));
    QTRY_COMPARE(m_mock.calls(QStringLiteral("org.freedesktop.login1")),
                 QStringList(QStringLiteral("Reboot False")));
}

QTEST_MAIN(tst_LinuxScreen)
#include "tst_linuxscreen.moc"
