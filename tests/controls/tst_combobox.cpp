#include "AppRootItem.h"
#include "BeepButton.h"
#include "ComboBox.h"
#include "GlobalInfo.h"
#include "PanelSimulator.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQuick/private/qquickanchors_p.h>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtQuickTemplates2/private/qquickcombobox_p.h>
#include <QtQuickTemplates2/private/qquickpopup_p.h>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {

const QColor FIELD_BORDER(QLatin1String("#E2E2E2"));
const QColor OPEN_BORDER(QLatin1String("#6EA2E2"));
const QColor CURRENT_ROW(QLatin1String("#A8CDF1"));

QStringList namesOf(int count, const QString &prefix = QStringLiteral("Row"))
{
    QStringList names;
    for (int i = 0; i < count; ++i)
        names << prefix + QLatin1Char(' ') + QString::number(i);
    return names;
}

int beepCount()
{
    const auto log = HMI::PanelSimulator::callLog();
    return int(std::count(log.begin(), log.end(), std::string("beep 1")));
}

QPoint centreOf(QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

/// Clicks the centre of @p button and expects exactly one clicked() from it.
void clickButton(QQuickItem *button)
{
    QVERIFY(button);
    QVERIFY(button->window());
    QSignalSpy clicked(button, SIGNAL(clicked()));
    QVERIFY(clicked.isValid());
    QTest::mouseClick(button->window(), Qt::LeftButton, Qt::NoModifier, centreOf(button));
    QCOMPARE(clicked.count(), 1);
}

/// One row of an open list: its delegate, background and text.
struct Row
{
    QQuickAbstractButton *delegate = nullptr;
    QQuickRectangle *background = nullptr;
    QQuickText *text = nullptr;
};

template<typename T>
T *childItemOf(QQuickItem *item)
{
    const auto children = item->childItems();
    for (QQuickItem *child : children) {
        if (auto *found = qobject_cast<T *>(child))
            return found;
    }
    return nullptr;
}

void collectDelegates(QQuickItem *item, QList<QQuickAbstractButton *> &found)
{
    const auto children = item->childItems();
    for (QQuickItem *child : children) {
        if (auto *button = qobject_cast<QQuickAbstractButton *>(child))
            found << button;
        else
            collectDelegates(child, found);
    }
}

/// The rows the list shows, top to bottom (the list's rows are items, not QObject children).
QList<Row> rowsOf(QQuickPopup *popup)
{
    QList<QQuickAbstractButton *> delegates;
    collectDelegates(popup->contentItem(), delegates);
    QList<Row> rows;
    for (QQuickAbstractButton *delegate : qAsConst(delegates)) {
        Row row;
        row.delegate = delegate;
        row.background = childItemOf<QQuickRectangle>(delegate);
        row.text = row.background ? childItemOf<QQuickText>(row.background) : nullptr;
        if (row.text && delegate->isVisible())
            rows << row;
    }
    std::sort(rows.begin(), rows.end(),
              [](const Row &a, const Row &b) { return a.delegate->y() < b.delegate->y(); });
    return rows;
}

} // namespace

class tst_ComboBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void construction();
    void popupZ_data();
    void popupZ();
    void sizesFollowHeight_data();
    void sizesFollowHeight();
    void stringListModel_data();
    void stringListModel();
    void modelReplacementKeepsIndex_data();
    void modelReplacementKeepsIndex();
    void currentIndexRelay();
    void fontPixelSize_data();
    void fontPixelSize();
    void pickFromList_data();
    void pickFromList();
    void closesWhenRootHides();
    void declaredInQml();
    void withoutEngine();

private:
    /// A shown window holding a combo box of @p names at (20, 20), 200 × 40.
    QSP::ComboBox *showComboBox(const QStringList &names);

    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;
};

void tst_ComboBox::initTestCase()
{
    m_engine = std::make_unique<QQmlEngine>();
    QSP::GlobalInfo::instance().setQmlEngine(m_engine.get());
}

void tst_ComboBox::cleanupTestCase()
{
    QSP::GlobalInfo::instance().setQmlEngine(nullptr);
    m_engine.reset();
}

void tst_ComboBox::init()
{
    QSP::BeepButton::setBuzzerOn(true);
    HMI::PanelSimulator::clearCallLog();
}

void tst_ComboBox::cleanup()
{
    m_window.reset(); // the combo boxes in it go with it
    QSP::GlobalInfo::instance().setRootPopupZ(20000);
    QSP::BeepButton::setBuzzerOn(true);
}

QSP::ComboBox *tst_ComboBox::showComboBox(const QStringList &names)
{
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(400, 400);
    auto *combo = new QSP::ComboBox(m_window->contentItem());
    combo->setPosition(QPointF(20, 20));
    combo->setSize(QSizeF(200, 40));
    combo->setStringListModel(names);
    m_window->show();
    if (!QTest::qWaitForWindowExposed(m_window.get()))
        return nullptr;
    return combo;
}

void tst_ComboBox::construction()
{
    QSP::ComboBox combo;
    auto *inner = combo.findChild<QQuickComboBox *>();
    QVERIFY(inner);
    QCOMPARE(inner->parentItem(), &combo);
    QCOMPARE(combo.fontPixelSize(), 20);
    QCOMPARE(inner->property("fontPixelSize").toInt(), 20);
    QCOMPARE(inner->font().pixelSize(), 20);
    QCOMPARE(combo.currentIndex(), -1);
    QVERIFY(inner->delegate());

    // The combo box fills the wrapper, whatever its size.
    combo.setSize(QSizeF(180, 36));
    QCOMPARE(inner->position(), QPointF(0, 0));
    QCOMPARE(inner->size(), QSizeF(180, 36));

    auto *field = qobject_cast<QQuickRectangle *>(inner->background());
    QVERIFY(field);
    QCOMPARE(field->color(), QColor(Qt::white));
    QCOMPARE(field->border()->width(), 1.0);
    QCOMPARE(field->border()->color(), FIELD_BORDER);

    QQuickPopup *popup = inner->popup();
    QVERIFY(popup);
    auto *list = qobject_cast<QQuickRectangle *>(popup->background());
    QVERIFY(list);
    QCOMPARE(list->color(), QColor(Qt::white));
    QCOMPARE(list->border()->width(), 1.0);
    QCOMPARE(list->border()->color(), OPEN_BORDER);
    QCOMPARE(popup->padding(), 1.0);

    auto *indicator = qobject_cast<QQuickImage *>(inner->indicator());
    QVERIFY(indicator);
    QCOMPARE(indicator->source(), QUrl(QStringLiteral("qrc:/setting/icons/down_arrow.png")));
    QCOMPARE(indicator->status(), QQuickImageBase::Ready);
    // The arrow sits at the right end of the text area, vertically centred on it.
    QQuickItem *content = inner->contentItem();
    QVERIFY(content);
    QCOMPARE(indicator->y() + indicator->height() / 2, content->y() + content->height() / 2);
    QCOMPARE(indicator->x() + indicator->width() + 36 * 0.25, content->x() + content->width());
}

void tst_ComboBox::popupZ_data()
{
    QTest::addColumn<int>("rootPopupZ");
    QTest::newRow("default") << 20000;
    QTest::newRow("host's own") << 31000;
    QTest::newRow("low") << 5;
}

void tst_ComboBox::popupZ()
{
    QFETCH(int, rootPopupZ);
    QSP::GlobalInfo::instance().setRootPopupZ(rootPopupZ);
    QSP::ComboBox combo;
    auto *inner = combo.findChild<QQuickComboBox *>();
    QVERIFY(inner);
    QCOMPARE(inner->popup()->z(), qreal(rootPopupZ));
}

void tst_ComboBox::sizesFollowHeight_data()
{
    QTest::addColumn<qreal>("height");
    QTest::addColumn<qreal>("radius");
    QTest::addColumn<int>("arrowSide");
    QTest::addColumn<qreal>("arrowMargin");

    QTest::newRow("40") << 40.0 << 5.0 << 13 << 10.0;
    QTest::newRow("60") << 60.0 << 7.5 << 20 << 15.0;
    QTest::newRow("32") << 32.0 << 4.0 << 11 << 8.0;
    QTest::newRow("54") << 54.0 << 6.75 << 18 << 13.5;
}

void tst_ComboBox::sizesFollowHeight()
{
    QFETCH(qreal, height);
    QFETCH(qreal, radius);
    QFETCH(int, arrowSide);
    QFETCH(qreal, arrowMargin);

    QSP::ComboBox combo;
    combo.setWidth(200);
    combo.setHeight(height);
    auto *inner = combo.findChild<QQuickComboBox *>();
    QVERIFY(inner);
    QCOMPARE(inner->height(), height);
    QCOMPARE(qobject_cast<QQuickRectangle *>(inner->background())->radius(), radius);
    QCOMPARE(qobject_cast<QQuickRectangle *>(inner->popup()->background())->radius(), radius);
    auto *indicator = qobject_cast<QQuickImage *>(inner->indicator());
    QCOMPARE(indicator->sourceSize(), QSize(arrowSide, arrowSide));
    QCOMPARE(indicator->width(), qreal(arrowSide));
    QCOMPARE(QQuickItemPrivate::get(indicator)->anchors()->rightMargin(), arrowMargin);
}

void tst_ComboBox::stringListModel_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::newRow("empty") << QStringList();
    QTest::newRow("one") << QStringList{QStringLiteral("LAN0")};
    QTest::newRow("adapters") << QStringList{QStringLiteral("LAN0"), QStringLiteral("LAN1"),
                                             QStringLiteral("WIFI"), QStringLiteral("4G")};
    QTest::newRow("not ASCII") << QStringList{QStringLiteral("有线网络"), QString()};
}

void tst_ComboBox::stringListModel()
{
    QFETCH(QStringList, names);

    QSP::ComboBox combo;
    auto *inner = combo.findChild<QQuickComboBox *>();
    QVERIFY(inner);
    QSignalSpy modelChanged(&combo, &QSP::ComboBox::modelChanged);
    QVERIFY(modelChanged.isValid());

    combo.setStringListModel(names);
    QCOMPARE(modelChanged.count(), 1);
    QCOMPARE(inner->textRole(), QStringLiteral("name"));
    QCOMPARE(inner->count(), names.size());

    const QVariantList rows = combo.model().toList();
    QCOMPARE(rows.size(), names.size());
    for (int i = 0; i < names.size(); ++i) {
        const QVariantMap row = rows.at(i).toMap();
        QCOMPARE(row.keys(), QStringList{QStringLiteral("name")});
        QCOMPARE(row.value(QStringLiteral("name")).toString(), names.at(i));
    }
    // A model keeps the index there was: on a new combo box nothing is chosen until someone chooses.
    QCOMPARE(combo.currentIndex(), inner->currentIndex());
    QCOMPARE(combo.currentIndex(), -1);
    QCOMPARE(inner->displayText(), QString());
    if (!names.isEmpty()) {
        combo.setCurrentIndex(names.size() - 1);
        QCOMPARE(inner->displayText(), names.last());
    }
}

void tst_ComboBox::modelReplacementKeepsIndex_data()
{
    QTest::addColumn<int>("oldCount");
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("newCount");

    QTest::newRow("same size") << 5 << 2 << 5;
    QTest::newRow("longer") << 3 << 2 << 6;
    QTest::newRow("first row") << 4 << 0 << 2;
    QTest::newRow("shorter, index beyond") << 5 << 4 << 3;
    QTest::newRow("emptied") << 3 << 1 << 0;
}

void tst_ComboBox::modelReplacementKeepsIndex()
{
    QFETCH(int, oldCount);
    QFETCH(int, index);
    QFETCH(int, newCount);

    QSP::ComboBox combo;
    auto *inner = combo.findChild<QQuickComboBox *>();
    QVERIFY(inner);
    combo.setStringListModel(namesOf(oldCount));
    combo.setCurrentIndex(index);
    QCOMPARE(combo.currentIndex(), index);

    QSignalSpy indexChanged(&combo, &QSP::ComboBox::currentIndexChanged);
    QVERIFY(indexChanged.isValid());
    QSignalSpy modelChanged(&combo, &QSP::ComboBox::modelChanged);
    QVERIFY(modelChanged.isValid());

    const QStringList names = namesOf(newCount, QStringLiteral("New"));
    combo.setStringListModel(names);

    QCOMPARE(modelChanged.count(), 1);
    // The previous position is asked for again; the inner combo box decides what it keeps.
    QCOMPARE(combo.currentIndex(), index);
    QCOMPARE(inner->currentIndex(), index);
    // The reset in between is not reported.
    QCOMPARE(indexChanged.count(), 0);
    QCOMPARE(inner->currentText(), index < newCount ? names.at(index) : QString());
    QCOMPARE(inner->textRole(), QStringLiteral("name"));

    // The relay is back in place after the replacement.
    combo.setCurrentIndex(newCount > 1 ? (index + 1) % newCount : -1);
    QCOMPARE(indexChanged.count(), combo.currentIndex() != index ? 1 : 0);
}

void tst_ComboBox::currentIndexRelay()
{
    QSP::ComboBox combo;
    auto *inner = combo.findChild<QQuickComboBox *>();
    QVERIFY(inner);
    combo.setStringListModel(namesOf(4));
    QSignalSpy indexChanged(&combo, &QSP::ComboBox::currentIndexChanged);
    QVERIFY(indexChanged.isValid());

    combo.setCurrentIndex(2);
    QCOMPARE(indexChanged.count(), 1);
    QCOMPARE(inner->currentIndex(), 2);
    QCOMPARE(combo.property("currentIndex").toInt(), 2);

    combo.setCurrentIndex(2);
    QCOMPARE(indexChanged.count(), 1);

    inner->incrementCurrentIndex(); // a change made inside, as the keyboard or wheel would
    QCOMPARE(indexChanged.count(), 2);
    QCOMPARE(combo.currentIndex(), 3);
}

void tst_ComboBox::fontPixelSize_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("expected");
    QTest::addColumn<int>("notifications");

    QTest::newRow("default again") << 20 << 20 << 0;
    QTest::newRow("larger") << 28 << 28 << 1;
    QTest::newRow("smaller") << 12 << 12 << 1;
    QTest::newRow("zero is refused") << 0 << 20 << 0;
    QTest::newRow("negative is refused") << -4 << 20 << 0;
}

void tst_ComboBox::fontPixelSize()
{
    QFETCH(int, size);
    QFETCH(int, expected);
    QFETCH(int, notifications);

    QSP::ComboBox combo;
    auto *inner = combo.findChild<QQuickComboBox *>();
    QVERIFY(inner);
    QSignalSpy changed(&combo, &QSP::ComboBox::fontPixelSizeChanged);
    QVERIFY(changed.isValid());

    if (size <= 0)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("font pixel size")));
    combo.setFontPixelSize(size);
    QCOMPARE(changed.count(), notifications);
    QCOMPARE(combo.fontPixelSize(), expected);
    QCOMPARE(inner->property("fontPixelSize").toInt(), expected);
    QCOMPARE(inner->font().pixelSize(), expected);
}

void tst_ComboBox::pickFromList_data()
{
    QTest::addColumn<bool>("buzzerOn");
    QTest::addColumn<int>("fontSize");
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("pick");

    QTest::newRow("buzzer on") << true << 20 << 1 << 2;
    QTest::newRow("buzzer off") << false << 20 << 1 << 0;
    QTest::newRow("larger font") << true << 26 << 0 << 2;
    QTest::newRow("current row again") << true << 20 << 1 << 1;
}

void tst_ComboBox::pickFromList()
{
    QFETCH(bool, buzzerOn);
    QFETCH(int, fontSize);
    QFETCH(int, current);
    QFETCH(int, pick);

    const QStringList names{QStringLiteral("LAN0"), QStringLiteral("LAN1"), QStringLiteral("WIFI")};
    QSP::ComboBox *combo = showComboBox(names);
    QVERIFY(combo);
    combo->setFontPixelSize(fontSize);
    combo->setCurrentIndex(current);
    auto *inner = combo->findChild<QQuickComboBox *>();
    QVERIFY(inner);
    QQuickPopup *popup = inner->popup();
    auto *field = qobject_cast<QQuickRectangle *>(inner->background());
    auto *list = qobject_cast<QQuickRectangle *>(popup->background());
    QVERIFY(field && list);

    QSP::BeepButton::setBuzzerOn(buzzerOn);
    HMI::PanelSimulator::clearCallLog();
    QSignalSpy activated(combo, &QSP::ComboBox::activated);
    QVERIFY(activated.isValid());
    QSignalSpy indexChanged(combo, &QSP::ComboBox::currentIndexChanged);
    QVERIFY(indexChanged.isValid());

    // A touch on the field beeps once, on the press, and opens the list; the field turns blue.
    QTest::mouseClick(m_window.get(), Qt::LeftButton, Qt::NoModifier, centreOf(combo));
    QTRY_VERIFY(popup->isOpened());
    QCOMPARE(beepCount(), buzzerOn ? 1 : 0);
    QCOMPARE(field->border()->color(), OPEN_BORDER);
    QCOMPARE(list->border()->color(), OPEN_BORDER);
    QCOMPARE(activated.count(), 0);

    // One row per name, as large as the field, the current one light blue.
    QList<Row> rows;
    QTRY_COMPARE((rows = rowsOf(popup)).size(), names.size());
    for (int i = 0; i < rows.size(); ++i) {
        const Row &row = rows.at(i);
        QCOMPARE(row.text->text(), names.at(i));
        QCOMPARE(row.text->font().pixelSize(), fontSize);
        QCOMPARE(row.text->x(), 10.0);
        QCOMPARE(row.text->y() + row.text->height() / 2, row.background->height() / 2);
        QCOMPARE(row.delegate->width(), inner->width());
        QCOMPARE(row.delegate->height(), inner->height());
        QCOMPARE(row.background->size(), row.delegate->size());
        QCOMPARE(row.background->color(), i == current ? CURRENT_ROW : QColor(Qt::white));
    }

    // Picking a row beeps again, then reports it; the list closes and the field is grey again.
    clickButton(rows.at(pick).delegate);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(activated.count(), 1);
    QCOMPARE(activated.first().first().toInt(), pick);
    QCOMPARE(beepCount(), buzzerOn ? 2 : 0);
    QCOMPARE(combo->currentIndex(), pick);
    QCOMPARE(indexChanged.count(), pick == current ? 0 : 1);
    QCOMPARE(inner->displayText(), names.at(pick));
    QTRY_VERIFY(!popup->isVisible());
    QCOMPARE(field->border()->color(), FIELD_BORDER);
    QCOMPARE(list->border()->color(), OPEN_BORDER);
}

void tst_ComboBox::closesWhenRootHides()
{
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(400, 400);
    auto *root = new QSP::AppRootItem(m_window->contentItem());
    QCOMPARE(QSP::AppRootItem::instance(), root);
    root->setSize(QSizeF(400, 400));
    auto *combo = new QSP::ComboBox(root);
    combo->setSize(QSizeF(200, 40));
    combo->setStringListModel(namesOf(3));
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    QQuickPopup *popup = combo->findChild<QQuickComboBox *>()->popup();

    popup->open();
    QTRY_VERIFY(popup->isOpened());
    root->setVisible(false);
    QTRY_VERIFY(!popup->isVisible());

    // Showing the screen again does not bring the list back.
    root->setVisible(true);
    QTest::qWait(50);
    QVERIFY(!popup->isVisible());

    // Without a root item the combo box still works, only nothing closes it from outside.
    delete root;
    QCOMPARE(QSP::AppRootItem::instance(), nullptr);
    auto *plain = new QSP::ComboBox(m_window->contentItem());
    plain->setStringListModel(namesOf(2));
    plain->setCurrentIndex(1);
    QCOMPARE(plain->currentIndex(), 1);
    QQuickPopup *plainPopup = plain->findChild<QQuickComboBox *>()->popup();
    plainPopup->open();
    QTRY_VERIFY(plainPopup->isOpened());
}

void tst_ComboBox::declaredInQml()
{
    QSP::ComboBox::registerType();
    QSP::ComboBox::registerType(); // a second call changes nothing

    QQmlComponent component(m_engine.get());
    component.setData("import QQuickSystemSet 1.0\n"
                      "ComboBox { width: 160; height: 40; fontPixelSize: 24\n"
                      "    model: [{name: \"English\"}, {name: \"Chinese\"}]; currentIndex: 1 }",
                      QUrl());
    QVERIFY2(component.isReady(), qPrintable(component.errorString()));
    std::unique_ptr<QObject> object(component.create());
    auto *combo = qobject_cast<QSP::ComboBox *>(object.get());
    QVERIFY(combo);
    QCOMPARE(combo->fontPixelSize(), 24);
    QCOMPARE(combo->currentIndex(), 1);
    QCOMPARE(combo->findChild<QQuickComboBox *>()->displayText(), QStringLiteral("Chinese"));
    QCOMPARE(combo->model().toList().size(), 2);
}

void tst_ComboBox::withoutEngine()
{
    QSP::GlobalInfo::instance().setQmlEngine(nullptr);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no QML engine")));
    {
        QSP::ComboBox combo;
        QCOMPARE(combo.findChild<QQuickComboBox *>(), nullptr);
        QSignalSpy modelChanged(&combo, &QSP::ComboBox::modelChanged);
        QVERIFY(modelChanged.isValid());
        combo.setStringListModel(namesOf(3));
        QCOMPARE(modelChanged.count(), 0);
        QVERIFY(!combo.model().isValid());
        combo.setCurrentIndex(1);
        QCOMPARE(combo.currentIndex(), -1);
        combo.setFontPixelSize(30);
        QCOMPARE(combo.fontPixelSize(), 30);
    }
    {
        QSP::ComboBox second; // reported once only
        QCOMPARE(second.currentIndex(), -1);
    }
    QSP::GlobalInfo::instance().setQmlEngine(m_engine.get());
    QSP::ComboBox working;
    QVERIFY(working.findChild<QQuickComboBox *>());
}

QTEST_MAIN(tst_ComboBox)

#include "tst_combobox.moc"
