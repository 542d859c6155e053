#include "BaseCard.h"
#include "DelayTrigger.h"
#include "KeyPressFilter.h"

#include <QElapsedTimer>
#include <QKeyEvent>
#include <QQuickItem>
#include <QtTest>

#include <memory>

class tst_ShellUtilities : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keyPressFilter_data();
    void keyPressFilter();
    void delayTriggerPostpones();
    void delayTriggerCallbacks();
    void baseCard();
};

void tst_ShellUtilities::keyPressFilter_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("key");
    QTest::addColumn<bool>("consumed");

    QTest::newRow("Escape") << int(QEvent::KeyPress) << int(Qt::Key_Escape) << true;
    QTest::newRow("Return") << int(QEvent::KeyPress) << int(Qt::Key_Return) << true;
    QTest::newRow("Enter") << int(QEvent::KeyPress) << int(Qt::Key_Enter) << true;
    QTest::newRow("keyboard confirm key") << int(QEvent::KeyPress) << 0x00100000 << true;
    QTest::newRow("letter") << int(QEvent::KeyPress) << int(Qt::Key_A) << false;
    QTest::newRow("Tab") << int(QEvent::KeyPress) << int(Qt::Key_Tab) << false;
    QTest::newRow("Escape released") << int(QEvent::KeyRelease) << int(Qt::Key_Escape) << false;
}

void tst_ShellUtilities::keyPressFilter()
{
    QFETCH(int, type);
    QFETCH(int, key);
    QFETCH(bool, consumed);

    QQuickItem item;
    item.setFocus(true);
    QSP::KeyPressFilter filter(&item);
    QCOMPARE(filter.parent(), nullptr);
    item.installEventFilter(&filter);

    QKeyEvent event(static_cast<QEvent::Type>(type), key, Qt::NoModifier);
    QCOMPARE(filter.eventFilter(&item, &event), consumed);
    QCOMPARE(item.hasFocus(), !consumed);
}

void tst_ShellUtilities::delayTriggerPostpones()
{
    QObject owner;
    auto *trigger = new DelayTrigger(150, &owner);
    QCOMPARE(trigger->parent(), &owner);
    int calls = 0;
    QElapsedTimer sinceLastWork;
    qint64 firedAfter = -1;
    trigger->setCallback([&] {
        ++calls;
        firedAfter = sinceLastWork.elapsed();
    });
    trigger->doWork();
    QTest::qWait(80);
    sinceLastWork.start();
    trigger->doWork(); // restarts the countdown
    QTRY_COMPARE(calls, 1);
    QVERIFY2(firedAfter >= 140, QByteArray::number(firedAfter));
    QTest::qWait(300);
    QCOMPARE(calls, 1); // once per doWork, not repeating
}

void tst_ShellUtilities::delayTriggerCallbacks()
{
    DelayTrigger trigger(0, nullptr);
    trigger.doWork(); // no callback yet: the timeout does nothing
    QTRY_VERIFY(!trigger.isActive());

    auto first = std::make_shared<int>(0);
    std::weak_ptr<int> firstAlive = first;
    trigger.setCallback([first] { ++*first; });
    first.reset();
    QVERIFY(!firstAlive.expired());
    int second = 0;
    trigger.setCallback([&second] { ++second; });
    QVERIFY(firstAlive.expired()); // the replaced callback is destroyed
    trigger.doWork();
    QTRY_COMPARE(second, 1);
}

void tst_ShellUtilities::baseCard()
{
    // Every card is drawn on a white, rounded card.
    QSP::BaseCard card;
    QCOMPARE(card.color(), QColor(Qt::white));
    QCOMPARE(card.radius(), 10.0);
}

QTEST_MAIN(tst_ShellUtilities)
#include "tst_shellutilities.moc"
