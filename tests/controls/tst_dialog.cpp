#include "BeepButton.h"
#include "ControlFixture.h"
#include "Dialog.h"

#include <QtQuick/private/qquickimage_p.h>

namespace {

/// The dialog's parts, found as a reader of the scene would: the title text inside the title bar, the
/// one-unit rectangle below it, the close button in the title bar.
struct Parts
{
    explicit Parts(QSP::Dialog *dialog)
        : title(dialog->findChild<QQuickText *>())
        , titleBar(title->parentItem())
        , background(qobject_cast<QQuickRectangle *>(dialog->background()))
        , closeButton(dialog->findChild<QSP::BeepButton *>())
        , closeIcon(closeButton ? closeButton->findChild<QQuickImage *>() : nullptr)
    {
        for (QQuickItem *child : dialog->contentItem()->childItems()) {
            if (child->height() == 1)
                separator = qobject_cast<QQuickRectangle *>(child);
        }
    }
    QQuickText *title;
    QQuickItem *titleBar;
    QQuickRectangle *background;
    QSP::BeepButton *closeButton;
    QQuickImage *closeIcon;
    QQuickRectangle *separator = nullptr;
};

} // namespace

class tst_Dialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(f.showWindow()); }
    void init();
    void cleanup() { m_dialog.reset(); }

    void layout_data();
    void layout();
    void closeButtonClosesAndBeeps_data();
    void closeButtonClosesAndBeeps();
    void bodyItem();
    void rootPopup();

private:
    /// A dialog in the window, @p size large (its height set first).
    QSP::Dialog *make(const QSizeF &size = QSizeF())
    {
        m_dialog = std::make_unique<QSP::Dialog>(f.window()->contentItem());
        if (!size.isNull()) {
            m_dialog->setHeight(size.height());
            m_dialog->setWidth(size.width());
        }
        return m_dialog.get();
    }

    ControlFixture f;
    std::unique_ptr<QSP::Dialog> m_dialog;
};

void tst_Dialog::init()
{
    QSP::GlobalInfo::instance().setScreenWidth(1920);
    QSP::GlobalInfo::instance().setScreenHeight(1080);
    QVERIFY(ControlFixture::setBuzzer(true));
}

void tst_Dialog::layout_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<qreal>("bar"); // the title bar's height
    QTest::addColumn<int>("fontSize");
    QTest::addColumn<int>("iconSide");
    QTest::addColumn<qreal>("radius");

    QTest::newRow("landscape 1024, scaled") << QSize(1024, 600) << 1024 / 1920.0 * 68 << 18 << 19 << 8.0;
    QTest::newRow("portrait 480") << QSize(480, 800) << 36.0 << 18 << 19 << 8.0;
    QTest::newRow("screen not known yet") << QSize(-1, -1) << 68.0 << 34 << 37 << 15.0;
}

void tst_Dialog::layout()
{
    QFETCH(QSize, screen);
    QFETCH(qreal, bar);

    QSP::GlobalInfo::instance().setScreenWidth(screen.width());
    QSP::GlobalInfo::instance().setScreenHeight(screen.height());
    QSP::Dialog *dialog = make(QSizeF(400, 300));
    dialog->setEnableCloseButton(true);
    auto *body = new QQuickItem;
    dialog->setBodyItem(body);
    dialog->setTitle(QStringLiteral("Ping test"));
    const Parts parts(dialog);
    QCOMPARE(parts.title->text(), QStringLiteral("Ping test"));
    QVERIFY(parts.background && parts.separator && parts.closeIcon);

    QTEST(parts.background->radius(), "radius");
    QCOMPARE(parts.titleBar->size(), QSizeF(398, bar));
    QCOMPARE(parts.separator->y(), bar);
    QCOMPARE(parts.separator->width(), 400.0);
    QTEST(parts.title->font().pixelSize(), "fontSize");
    QCOMPARE(parts.title->x(), bar * 0.331);
    // A square close button at the right end of the title bar.
    QCOMPARE(parts.closeButton->size(), QSizeF(bar, bar));
    QCOMPARE(parts.closeButton->x() + bar, 398.0);
    QCOMPARE(parts.closeIcon->status(), QQuickImageBase::Ready);
    QTEST(parts.closeIcon->sourceSize().width(), "iconSide");
    // Placed when set: one unit in, just below the separator, down to the frame's bottom.
    QCOMPARE(body->position(), QPointF(1, bar + 1));
    QCOMPARE(body->size(), QSizeF(398, 300 - bar - 1));

    // A new width lays the frame out again and leaves a margin under the body; a new height alone does not.
    dialog->setWidth(520.6);
    dialog->setHeight(360);
    QCOMPARE(parts.titleBar->width(), 518.0);
    QCOMPARE(parts.separator->width(), 520.0);
    QCOMPARE(parts.closeButton->x() + bar, 518.0);
    QCOMPARE(body->size(), QSizeF(518, 300 - bar - 10));
}

void tst_Dialog::closeButtonClosesAndBeeps_data()
{
    QTest::addColumn<bool>("buzzer");
    QTest::addColumn<bool>("modal");
    QTest::newRow("buzzer on") << true << false;
    QTest::newRow("buzzer off") << false << false;
    QTest::newRow("modal") << true << true;
}

void tst_Dialog::closeButtonClosesAndBeeps()
{
    QFETCH(bool, buzzer);
    QFETCH(bool, modal);

    QSP::Dialog *dialog = make(QSizeF(400, 300));
    dialog->setEnableCloseButton(false);
    QCOMPARE(Parts(dialog).closeButton, nullptr); // made on first need only
    dialog->setEnableCloseButton(true);
    dialog->setModal(modal);
    dialog->setClosePolicy(QQuickPopup::NoAutoClose);
    dialog->setPosition(QPointF(100, 100));
    QSignalSpy closed(dialog, &QQuickPopup::closed);
    QVERIFY(closed.isValid());
    dialog->open();
    QTRY_VERIFY(dialog->isOpened());

    QVERIFY(ControlFixture::setBuzzer(buzzer));
    QSP::BeepButton *button = Parts(dialog).closeButton;
    QVERIFY(ControlFixture::clickButton(button));
    QTRY_COMPARE(closed.count(), 1);
    QCOMPARE(ControlFixture::beeps(), buzzer ? 1 : 0);

    // It opens again with its close button, which hides and shows again without being made anew.
    dialog->open();
    QTRY_VERIFY(dialog->isOpened());
    QVERIFY(button->isVisible());
    dialog->setEnableCloseButton(false);
    QVERIFY(!button->isVisible());
    dialog->setProperty("enableCloseButton", true);
    QVERIFY(button->isVisible());
    QCOMPARE(dialog->findChildren<QSP::BeepButton *>(), QList<QSP::BeepButton *>{button});
}

void tst_Dialog::bodyItem()
{
    QSP::Dialog *dialog = make();
    QSignalSpy changed(dialog, &QSP::Dialog::bodyItemChanged);
    QVERIFY(changed.isValid());

    // Set before the dialog has a size: it takes what the content item has, and follows the first width.
    auto *first = new QQuickItem;
    dialog->setBodyItem(first);
    dialog->setBodyItem(first);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(first->parentItem(), dialog->contentItem());
    QCOMPARE(first->size(), QSizeF(-2, -68 - 1));
    dialog->setHeight(200); // the height alone leaves the body as it is
    QCOMPARE(first->size(), QSizeF(-2, -68 - 1));
    dialog->setWidth(300);
    QCOMPARE(first->size(), QSizeF(298, 200 - 68 - 10));

    // A second body replaces the first on screen; the first stays the dialog's, not lost.
    QPointer<QQuickItem> second = new QQuickItem;
    dialog->setProperty("bodyItem", QVariant::fromValue<QQuickItem *>(second));
    QCOMPARE(changed.count(), 2);
    QCOMPARE(dialog->bodyItem(), second.data());
    QCOMPARE(second->size(), QSizeF(298, 200 - 68 - 1));
    QCOMPARE(first->parentItem(), nullptr);
    QCOMPARE(first->parent(), dialog->contentItem());

    // A body that its user deletes is no longer the dialog's body.
    delete second;
    QCOMPARE(changed.count(), 3);
    QCOMPARE(dialog->bodyItem(), nullptr);
    dialog->setWidth(280); // lays out without it
    QCOMPARE(first->width(), 298.0);
}

void tst_Dialog::rootPopup()
{
    QVERIFY(f.checkRootPopup([this] { return make(QSizeF(300, 200)); }));
}

QTEST_MAIN(tst_Dialog)
#include "tst_dialog.moc"
