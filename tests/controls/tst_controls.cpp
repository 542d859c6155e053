#include "BeepButton.h"
#include "BeepSwitch.h"
#include "BrightButton.h"
#include "CIpInput.h"
#include "ComboBox.h"
#include "ComponentCache.h"
#include "ControlFixture.h"
#include "Dialog.h"
#include "PanelSimulator.h"

#include <QQmlComponent>
#include <QStyleHints>
#include <QTemporaryDir>
#include <QThread>
#include <QtQuickTemplates2/private/qquickcombobox_p.h>

using HMI::PanelSimulator;
using QSP::BeepButton;
using QSP::BeepSwitch;

namespace {

QStringList namesOf(int count, const QString &prefix = QStringLiteral("Row"))
{
    QStringList names;
    for (int i = 0; i < count; ++i)
        names << prefix + QLatin1Char(' ') + QString::number(i);
    return names;
}

/// The rows that the open list shows, top to bottom.
QList<QQuickItem *> rowsOf(QQuickPopup *popup)
{
    auto *view = popup->contentItem()->property("contentItem").value<QQuickItem *>();
    QList<QQuickItem *> rows;
    for (QQuickItem *row : view->childItems()) {
        if (row->isVisible() && row->inherits("QQuickAbstractButton"))
            rows << row;
    }
    std::sort(rows.begin(), rows.end(), [](QQuickItem *a, QQuickItem *b) { return a->y() < b->y(); });
    return rows;
}

} // namespace

/// The touch controls besides the text fields: the buttons and the switch, which beep; the dialog; the combo
/// box; and the cache of compiled documents behind them.
class tst_Controls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { QVERIFY(ControlFixture::setBuzzer(true)); }
    void cleanup() { m_item.reset(); }

    void buttonBeeps();
    void beepSwitch();
    void buzzerWriteRunsOffGuiThread();
    void dialog();
    void comboBoxModel_data();
    void comboBoxModel();
    void comboBoxPick_data();
    void comboBoxPick();
    void componentCache();
    void popupsOfTheScreen();

private:
    template<typename T>
    T *make(const QByteArray &qml)
    {
        m_item.reset(f.create(qml));
        return qobject_cast<T *>(m_item.get());
    }
    QSP::Dialog *makeDialog()
    {
        auto *dialog = new QSP::Dialog(f.window()->contentItem());
        m_item.reset(dialog);
        dialog->setHeight(300);
        dialog->setWidth(400);
        return dialog;
    }
    /// A combo box of @p names at (20, 20), 200 × 40.
    QQuickComboBox *makeComboBox(const QStringList &names)
    {
        m_item.reset(m_combo = new QSP::ComboBox(f.window()->contentItem()));
        m_combo->setPosition(QPointF(20, 20));
        m_combo->setSize(QSizeF(200, 40));
        m_combo->setStringListModel(names);
        return m_combo->findChild<QQuickComboBox *>();
    }

    ControlFixture f;
    std::unique_ptr<QObject> m_item;
    QSP::ComboBox *m_combo = nullptr; ///< owned by m_item
};

void tst_Controls::initTestCase()
{
    BeepButton::registerType();
    BeepSwitch::registerType();
    QSP::BrightButton::registerType();
    QSP::GlobalInfo::instance().setQmlEngine(f.engine());
    QVERIFY(f.showWindow());
}

void tst_Controls::beepSwitch()
{
    // Native reactions come first: the beep, then the toggle, then QML's onClicked.
    auto *sw = make<BeepSwitch>("BeepSwitch { width: 100; height: 30; property var seen: []; "
                                "onClicked: seen = seen.concat([on]) }");
    QVERIFY(sw);
    auto *track = qobject_cast<QQuickRectangle *>(sw->background());
    auto *knob = qobject_cast<QQuickRectangle *>(sw->childItems().value(1));
    QVERIFY(track && knob && knob != track);
    QSignalSpy changed(sw, &BeepSwitch::onChanged);
    for (const bool on : {true, false}) {
        QVERIFY(ControlFixture::clickButton(sw));
        // The knob in the track's right half when on, its left half when off; the track blue when on.
        QVERIFY((knob->x() >= 50) == on && knob->x() >= 0 && knob->x() + knob->width() <= 100);
        QCOMPARE(track->color(), QColor(QLatin1String(on ? "#3482FF" : "#C9CDD4")));
    }
    QCOMPARE(changed.count(), 2);
    QCOMPARE(sw->property("seen").toList(), (QVariantList{true, false}));
    QCOMPARE(ControlFixture::beeps(), 2);

    // Disabled, it is drawn at half opacity and ignores touches.
    sw->onChangeEnabled(false);
    ControlFixture::click(sw);
    QVERIFY(!sw->on() && sw->opacity() == 0.5 && ControlFixture::beeps() == 2);
    sw->onChangeEnabled(true);
    QVERIFY(ControlFixture::clickButton(sw));
    QVERIFY(sw->on() && sw->opacity() == 1.0);
}

void tst_Controls::buzzerWriteRunsOffGuiThread()
{
    QVERIFY(BeepButton::isBuzzerOn());
    QList<QThread *> threads; // read after the writes have finished
    PanelSimulator::setCallObserver([&](const std::string &line) {
        if (line.rfind("setBuzzerOn", 0) == 0)
            threads << QThread::currentThread();
    });
    BeepButton::setBuzzerOn(false);
    // The write has finished when the call returns.
    QCOMPARE(PanelSimulator::callLog(), std::vector<std::string>{"setBuzzerOn 0"});
    QVERIFY(!MeyerSingleton<HMI::SystemSet>::instance().isBuzzerOn());
    BeepButton::setBuzzerOn(true);
    PanelSimulator::setCallObserver(nullptr);
    QCOMPARE(threads.size(), 2);
    QVERIFY(!threads.contains(QThread::currentThread()));
}

void tst_Controls::buttonBeeps()
{
    // A click beeps when the buzzer is on, which is asked of the system each time and remembered.
    auto *button = make<QSP::BrightButton>("BrightButton { width: 60; height: 60 }");
    QVERIFY(button);
    for (const bool buzzer : {false, true}) {
        QVERIFY(ControlFixture::setBuzzer(buzzer));
        button->setAutoCloseVkb(buzzer); // beeps either way
        QVERIFY(ControlFixture::clickButton(button));
        QCOMPARE(BeepButton::cachedBuzzerOn(), buzzer);
        QCOMPARE(ControlFixture::beeps(), int(buzzer));
    }
    // A long press beeps once; the release after it is no click.
    QSignalSpy held(button, &QQuickAbstractButton::pressAndHold);
    const QPoint centre = button->mapToScene(QPointF(30, 30)).toPoint();
    QTest::mousePress(f.window(), Qt::LeftButton, Qt::NoModifier, centre);
    QTRY_COMPARE_WITH_TIMEOUT(held.count(), 1,
                              QGuiApplication::styleHints()->mousePressAndHoldInterval() + 2000);
    QTest::mouseRelease(f.window(), Qt::LeftButton, Qt::NoModifier, centre);
    QCOMPARE(ControlFixture::beeps(), 2);
}

void tst_Controls::dialog()
{
    // The body fills the dialog under the title bar and follows its width.
    QSP::Dialog *dialog = makeDialog();
    QSignalSpy changed(dialog, &QSP::Dialog::bodyItemChanged);
    const auto fills = [dialog](QQuickItem *body) {
        const QRectF r =
            dialog->contentItem()->mapRectFromItem(body, QRectF(0, 0, body->width(), body->height()));
        return body->parentItem() == dialog->contentItem() && r.top() > 0 && r.bottom() <= dialog->height() &&
               r.left() >= 0 && r.width() >= dialog->width() - 2 && r.right() <= dialog->width();
    };
    auto *first = new QQuickItem;
    dialog->setBodyItem(first);
    dialog->setBodyItem(first);
    QCOMPARE(changed.count(), 1);
    QVERIFY(fills(first));
    dialog->setWidth(520);
    QVERIFY(fills(first));

    // A second body replaces the first on screen; the first stays the dialog's, not lost.
    QPointer<QQuickItem> second = new QQuickItem;
    dialog->setProperty("bodyItem", QVariant::fromValue<QQuickItem *>(second));
    QCOMPARE(changed.count(), 2);
    QVERIFY(fills(second) && !first->parentItem() && first->parent() == dialog->contentItem());

    // A body that its user deletes is no longer the dialog's body.
    delete second;
    QCOMPARE(changed.count(), 3);
    QCOMPARE(dialog->bodyItem(), nullptr);
    const qreal width = first->width();
    dialog->setWidth(400); // lays out without it
    QCOMPARE(first->width(), width);

    // The close button beeps and closes it; it hides and shows again without being made anew.
    dialog->setEnableCloseButton(true);
    QSignalSpy closed(dialog, &QQuickPopup::closed);
    auto *button = dialog->findChild<BeepButton *>();
    for (const bool close : {true, false}) {
        dialog->open();
        QTRY_VERIFY(dialog->isOpened());
        QVERIFY(!close || ControlFixture::clickButton(button));
    }
    QCOMPARE(closed.count(), 1);
    QCOMPARE(ControlFixture::beeps(), 1);
}

void tst_Controls::comboBoxModel_data()
{
    QTest::addColumn<int>("oldCount");
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("newCount");
    QTest::addColumn<int>("newIndex");
    QTest::newRow("new combo box: nothing chosen") << 0 << -1 << 3 << -1;
    QTest::newRow("same size") << 5 << 2 << 5 << 2;
    QTest::newRow("shorter, index kept") << 5 << 2 << 3 << 2;
    QTest::newRow("shorter, index beyond: nothing chosen") << 5 << 4 << 3 << -1;
    QTest::newRow("emptied") << 3 << 1 << 0 << -1;
}

void tst_Controls::comboBoxModel()
{
    QFETCH(int, oldCount);
    QFETCH(int, index);
    QFETCH(int, newCount);
    QFETCH(int, newIndex);
    QQuickComboBox *inner = makeComboBox(namesOf(oldCount));
    QVERIFY(inner);
    m_combo->setCurrentIndex(index);
    QSignalSpy indexChanged(m_combo, &QSP::ComboBox::currentIndexChanged);
    QSignalSpy modelChanged(m_combo, &QSP::ComboBox::modelChanged);

    // A new model keeps the position chosen before when it still has it; only a real change is reported.
    const QStringList names = namesOf(newCount, QStringLiteral("New"));
    m_combo->setStringListModel(names);
    QCOMPARE(modelChanged.count(), 1);
    QCOMPARE(m_combo->currentIndex(), newIndex);
    QCOMPARE(indexChanged.count(), newIndex == index ? 0 : 1);
    QCOMPARE(inner->count(), newCount);
    QCOMPARE(inner->displayText(), names.value(newIndex));

    // The relay is back in place after the replacement.
    indexChanged.clear();
    m_combo->setCurrentIndex(newCount - 1);
    QCOMPARE(indexChanged.count(), newCount - 1 == newIndex ? 0 : 1);
    QCOMPARE(inner->displayText(), names.value(newCount - 1));
}

void tst_Controls::comboBoxPick_data()
{
    QTest::addColumn<bool>("buzzer");
    QTest::addColumn<int>("fontSize");
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("pick");
    QTest::newRow("buzzer on") << true << 20 << 1 << 2;
    QTest::newRow("buzzer off") << false << 20 << 1 << 0;
    QTest::newRow("larger font") << true << 26 << 0 << 2;
    QTest::newRow("font size 0 refused") << true << 0 << 0 << 1;
    QTest::newRow("current row again") << true << 20 << 1 << 1;
}

void tst_Controls::comboBoxPick()
{
    QFETCH(bool, buzzer);
    QFETCH(int, fontSize);
    QFETCH(int, current);
    QFETCH(int, pick);
    const QStringList names{QStringLiteral("LAN0"), QStringLiteral("LAN1"), QStringLiteral("WIFI")};
    QQuickComboBox *inner = makeComboBox(names);
    QVERIFY(inner);
    if (fontSize <= 0)
        QTest::ignoreMessage(QtWarningMsg, "QSP::ComboBox: ignoring font pixel size 0, keeping 20");
    m_combo->setFontPixelSize(fontSize);
    const int font = fontSize > 0 ? fontSize : 20;
    m_combo->setCurrentIndex(current);
    auto *field = qobject_cast<QQuickRectangle *>(inner->background());
    const QColor fieldBorder = field->border()->color();
    QVERIFY(ControlFixture::setBuzzer(buzzer));
    QSignalSpy activated(m_combo, &QSP::ComboBox::activated);
    QSignalSpy indexChanged(m_combo, &QSP::ComboBox::currentIndexChanged);

    // A touch on the field beeps once, on the press, and opens the list; the field's border turns blue.
    ControlFixture::click(m_combo);
    QTRY_VERIFY(inner->popup()->isOpened());
    QCOMPARE(ControlFixture::beeps(), buzzer ? 1 : 0);
    QCOMPARE(field->border()->color(), QColor(QStringLiteral("#6EA2E2")));

    // One row per name in the chosen font, the current one light blue.
    QList<QQuickItem *> rows;
    QTRY_COMPARE((rows = rowsOf(inner->popup())).size(), names.size());
    for (int i = 0; i < rows.size(); ++i) {
        auto *background = qobject_cast<QQuickRectangle *>(rows[i]->childItems().value(0));
        auto *text = background->findChild<QQuickText *>();
        QCOMPARE(text->text() + QString::number(text->font().pixelSize()),
                 names.at(i) + QString::number(font));
        QCOMPARE(background->color(), QColor(QLatin1String(i == current ? "#A8CDF1" : "#FFFFFF")));
    }

    // Picking a row beeps again, then reports it; the list closes and the field's border is grey again.
    QVERIFY(ControlFixture::clickButton(rows.at(pick)));
    QCOMPARE(activated.count(), 1);
    QCOMPARE(activated.first().first().toInt(), pick);
    QCOMPARE(ControlFixture::beeps(), buzzer ? 2 : 0);
    QCOMPARE(m_combo->currentIndex(), pick);
    QCOMPARE(indexChanged.count(), pick == current ? 0 : 1);
    QCOMPARE(inner->displayText(), names.at(pick));
    QTRY_VERIFY(!inner->popup()->isVisible());
    QCOMPARE(field->border()->color(), fieldBorder);
}

void tst_Controls::componentCache()
{
    // Compiled once per engine and owned by it. A document that does not compile, or makes another class
    // than asked for, makes nothing and is reported once per engine.
    QTemporaryDir dir;
    const auto document = [&dir](const char *name, const QByteArray &qml) {
        QFile file(dir.filePath(QLatin1String(name)));
        return file.open(QIODevice::WriteOnly) && file.write("import QtQuick 2.15\n" + qml) > 0
                   ? QUrl::fromLocalFile(file.fileName())
                   : QUrl();
    };
    QSP::ComponentCache good(document("Good.qml", "Item {}"));
    QSP::ComponentCache broken(document("Broken.qml", "Item {"));
    QSP::ComponentCache other(document("Other.qml", "Item {}"));
    QQmlEngine second;
    for (QQmlEngine *engine : {f.engine(), &second, f.engine()}) {
        QQmlComponent *compiled = good.component(engine);
        QVERIFY(compiled && compiled->isReady());
        QCOMPARE(compiled->parent(), engine);
        QCOMPARE(good.component(engine), compiled);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Broken.qml:\\d+ ")));
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("Other.qml did not make a CIpInput")));
        QCOMPARE(
            ControlFixture::countWarnings([&] {
                for (int i = 0; i < 2; ++i) {
                    QCOMPARE(broken.createItem(engine, nullptr, QSP::CIpInput::staticMetaObject), nullptr);
                    QCOMPARE(other.createItem(engine, nullptr, QSP::CIpInput::staticMetaObject), nullptr);
                }
            }),
            2);
    }
}

void tst_Controls::popupsOfTheScreen()
{
    QVERIFY(f.checkRootPopup([this] { return makeDialog(); }));
    QVERIFY(f.checkRootPopup([this] { return makeComboBox(namesOf(3))->popup(); }));
}

QTEST_MAIN(tst_Controls)
#include "tst_controls.moc"
