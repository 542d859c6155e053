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
    QTest::newRow("landscape 1024") << QSize(1024, 600);
    QTest::newRow("portrait 480") << QSize(480, 800);
    QTest::newRow("screen not known yet") << QSize(-1, -1);
}

void tst_Dialog::layout()
{
    QFETCH(QSize, screen);
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
    QCOMPARE(parts.closeIcon->status(), QQuickImageBase::Ready);

    // From the top, inside the frame: the title bar with the title and the close button at its right end,
    // the separator, the body. A new width lays them out again.
    for (const qreal width : {400.0, 520.0}) {
        dialog->setWidth(width);
        const auto place = [dialog](QQuickItem *item) {
            return dialog->contentItem()->mapRectFromItem(item, QRectF(0, 0, item->width(), item->height()));
        };
        const QRectF bar = place(parts.titleBar), close = place(parts.closeButton), inside = place(body);
        QVERIFY(bar.top() >= 0 && bar.left() >= 0 && bar.right() <= width && bar.height() > 0);
        QCOMPARE(close.right(), bar.right());
        QVERIFY(close.top() >= bar.top() && close.bottom() <= bar.bottom());
        QVERIFY(place(parts.title).right() <= close.left());
        QCOMPARE(place(parts.separator).top(), bar.bottom());
        QVERIFY(inside.top() > bar.bottom() && inside.bottom() <= 300 && inside.width() >= width - 2);
    }
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
