#include "ComboBox.h"
#include "ComponentCache.h"
#include "ControlFixture.h"

#include <QFile>
#include <QQmlComponent>
#include <QTemporaryDir>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuickTemplates2/private/qquickcombobox_p.h>

#include <algorithm>

namespace {

const QColor FieldBorder(QLatin1String("#E2E2E2"));
const QColor OpenBorder(QLatin1String("#6EA2E2"));

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

class tst_ComboBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { QSP::GlobalInfo::instance().setQmlEngine(nullptr); }
    void init() { QVERIFY(ControlFixture::setBuzzer(true)); }
    void cleanup() { m_combo.reset(); }

    void model_data();
    void model();
    void pickFromList_data();
    void pickFromList();
    void rootPopup();
    void withoutEngine();
    void sharedComponent();

private:
    /// A combo box of @p names at (20, 20), 200 × 40, in the window.
    QQuickComboBox *make(const QStringList &names)
    {
        m_combo = std::make_unique<QSP::ComboBox>(f.window()->contentItem());
        m_combo->setPosition(QPointF(20, 20));
        m_combo->setSize(QSizeF(200, 40));
        m_combo->setStringListModel(names);
        return m_combo->findChild<QQuickComboBox *>();
    }

    ControlFixture f;
    std::unique_ptr<QSP::ComboBox> m_combo;
};

void tst_ComboBox::initTestCase()
{
    QSP::GlobalInfo::instance().setQmlEngine(f.engine());
    QVERIFY(f.showWindow());
}

void tst_ComboBox::model_data()
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

void tst_ComboBox::model()
{
    QFETCH(int, oldCount);
    QFETCH(int, index);
    QFETCH(int, newCount);
    QFETCH(int, newIndex);

    QQuickComboBox *inner = make(namesOf(oldCount));
    QVERIFY(inner);
    m_combo->setCurrentIndex(index);
    QSignalSpy indexChanged(m_combo.get(), &QSP::ComboBox::currentIndexChanged);
    QSignalSpy modelChanged(m_combo.get(), &QSP::ComboBox::modelChanged);

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

void tst_ComboBox::pickFromList_data()
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

void tst_ComboBox::pickFromList()
{
    QFETCH(bool, buzzer);
    QFETCH(int, fontSize);
    QFETCH(int, current);
    QFETCH(int, pick);

    const QStringList names{QStringLiteral("LAN0"), QStringLiteral("LAN1"), QStringLiteral("WIFI")};
    QQuickComboBox *inner = make(names);
    QVERIFY(inner);
    // The inner combo box fills the wrapper; its arrow lies at the right end of the field.
    QCOMPARE(QRectF(inner->position(), inner->size()), QRectF(0, 0, 200, 40));
    auto *arrow = qobject_cast<QQuickImage *>(inner->indicator());
    QVERIFY(arrow && arrow->status() == QQuickImageBase::Ready);
    QVERIFY(arrow->x() > 100 && arrow->x() + arrow->width() <= 200 && arrow->y() >= 0 &&
            arrow->y() + arrow->height() <= 40);
    if (fontSize <= 0)
        QTest::ignoreMessage(QtWarningMsg, "QSP::ComboBox: ignoring font pixel size 0, keeping 20");
    m_combo->setFontPixelSize(fontSize);
    const int font = fontSize > 0 ? fontSize : 20;
    QCOMPARE(inner->font().pixelSize(), font);
    m_combo->setCurrentIndex(current);
    QQuickPopup *popup = inner->popup();
    auto *field = qobject_cast<QQuickRectangle *>(inner->background());
    auto *list = qobject_cast<QQuickRectangle *>(popup->background());
    QVERIFY(field && list);
    QVERIFY(ControlFixture::setBuzzer(buzzer));
    QSignalSpy activated(m_combo.get(), &QSP::ComboBox::activated);
    QSignalSpy indexChanged(m_combo.get(), &QSP::ComboBox::currentIndexChanged);

    // A touch on the field beeps once, on the press, and opens the list; the field turns blue.
    ControlFixture::click(m_combo.get());
    QTRY_VERIFY(popup->isOpened());
    QCOMPARE(ControlFixture::beeps(), buzzer ? 1 : 0);
    QCOMPARE(field->border()->color(), OpenBorder);
    QCOMPARE(list->border()->color(), OpenBorder);

    // One row per name, as large as the field, the current one light blue.
    QList<QQuickItem *> rows;
    QTRY_COMPARE((rows = rowsOf(popup)).size(), names.size());
    for (int i = 0; i < rows.size(); ++i) {
        auto *background = qobject_cast<QQuickRectangle *>(rows[i]->childItems().value(0));
        auto *text = qobject_cast<QQuickText *>(background ? background->childItems().value(0) : nullptr);
        QVERIFY(text);
        QCOMPARE(text->text(), names.at(i));
        QCOMPARE(text->font().pixelSize(), font);
        QCOMPARE(rows[i]->size(), inner->size());
        QCOMPARE(background->color(), QColor(QLatin1String(i == current ? "#A8CDF1" : "#FFFFFF")));
    }

    // Picking a row beeps again, then reports it; the list closes and the field is grey again.
    QVERIFY(ControlFixture::clickButton(rows.at(pick)));
    QCOMPARE(activated.count(), 1);
    QCOMPARE(activated.first().first().toInt(), pick);
    QCOMPARE(ControlFixture::beeps(), buzzer ? 2 : 0);
    QCOMPARE(m_combo->currentIndex(), pick);
    QCOMPARE(indexChanged.count(), pick == current ? 0 : 1);
    QCOMPARE(inner->displayText(), names.at(pick));
    QTRY_VERIFY(!popup->isVisible());
    QCOMPARE(field->border()->color(), FieldBorder);
}

void tst_ComboBox::rootPopup()
{
    QVERIFY(f.checkRootPopup([this] { return make(namesOf(3))->popup(); }));
}

void tst_ComboBox::withoutEngine()
{
    QSP::GlobalInfo::instance().setQmlEngine(nullptr);
    QTest::ignoreMessage(QtWarningMsg,
                         "QSP::ComboBox: no QML engine has been set; the combo box stays empty");
    QCOMPARE(ControlFixture::countWarnings([] {
                 QSP::ComboBox combo; // reported once only
                 QSP::ComboBox second;
                 QSignalSpy modelChanged(&combo, &QSP::ComboBox::modelChanged);
                 combo.setStringListModel(namesOf(3));
                 combo.setCurrentIndex(1);
                 QCOMPARE(combo.findChild<QQuickComboBox *>(), nullptr);
                 QCOMPARE(modelChanged.count(), 0);
                 QCOMPARE(combo.currentIndex(), -1);
             }),
             1);
    QSP::GlobalInfo::instance().setQmlEngine(f.engine());
    QVERIFY(make(namesOf(1)));
}

void tst_ComboBox::sharedComponent()
{
    // The cache behind the controls: compiled once per engine, owned by it, a failure reported once per
    // engine.
    QTemporaryDir dir;
    const QString badPath = dir.filePath(QStringLiteral("Bad.qml"));
    QFile file(badPath);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("import QtQuick 2.15\nItem {") > 0);
    file.close();
    QSP::ComponentCache good(QUrl(QStringLiteral("qrc:/setting/controls/InnerComboBox.qml")));
    QSP::ComponentCache bad(QUrl::fromLocalFile(badPath), nullptr, QStringLiteral("prefix: "));
    QQmlEngine other;
    QQmlComponent *compiled = good.component(f.engine());
    QVERIFY(compiled && compiled->isReady());
    QCOMPARE(compiled->parent(), f.engine());
    QCOMPARE(good.component(f.engine()), compiled);
    QCOMPARE(good.component(&other)->parent(), &other);

    for (QQmlEngine *engine : {f.engine(), &other}) {
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("^prefix: file://.*/Bad.qml:\\d+ ")));
        QCOMPARE(ControlFixture::countWarnings([&] {
                     QCOMPARE(bad.component(engine), nullptr);
                     QCOMPARE(bad.component(engine), nullptr);
                 }),
                 1);
    }
}

QTEST_MAIN(tst_ComboBox)
#include "tst_combobox.moc"
