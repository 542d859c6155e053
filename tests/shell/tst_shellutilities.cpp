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
    void keyPressFilter_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("key");
        QTest::addColumn<bool>("consumed"); // and the item loses the focus

        QTest::newRow("Escape") << int(QEvent::KeyPress) << int(Qt::Key_Escape) << true;
        QTest::newRow("Return") << int(QEvent::KeyPress) << int(Qt::Key_Return) << true;
        QTest::newRow("Enter") << int(QEvent::KeyPress) << int(Qt::Key_Enter) << true;
        QTest::newRow("keyboard confirm key") << int(QEvent::KeyPress) << 0x00100000 << true;
        QTest::newRow("letter") << int(QEvent::KeyPress) << int(Qt::Key_A) << false;
        QTest::newRow("Escape released") << int(QEvent::KeyRelease) << int(Qt::Key_Escape) << false;
    }

    void keyPressFilter()
    {
        QFETCH(int, type);
        QFETCH(int, key);
        QFETCH(bool, consumed);
        QQuickItem item;
        item.setFocus(true);
        QSP::KeyPressFilter filter(&item);
        QKeyEvent event(static_cast<QEvent::Type>(type), key, Qt::NoModifier);
        QCOMPARE(filter.eventFilter(&item, &event), consumed);
        QCOMPARE(item.hasFocus(), !consumed);
    }

    void delayTrigger()
    {
        DelayTrigger trigger(150, nullptr);
        trigger.doWork(); // no callback yet: the timeout does nothing
        QTRY_VERIFY(!trigger.isActive());

        // Each doWork starts the countdown again; the callback runs once, its predecessor destroyed.
        auto first = std::make_shared<int>(0);
        std::weak_ptr<int> firstAlive = first;
        trigger.setCallback([first] { ++*first; });
        first.reset();
        int calls = 0;
        QElapsedTimer sinceLastWork;
        qint64 firedAfter = -1;
        trigger.setCallback([&] {
            ++calls;
            firedAfter = sinceLastWork.elapsed();
        });
        QVERIFY(firstAlive.expired());
        trigger.doWork();
        QTest::qWait(80);
        sinceLastWork.start();
        trigger.doWork();
        QTRY_COMPARE(calls, 1);
        QVERIFY2(firedAfter >= 140, QByteArray::number(firedAfter));
        QTest::qWait(300);
        QCOMPARE(calls, 1); // once per doWork, not repeating
    }
};

QTEST_MAIN(tst_ShellUtilities)
#include "tst_shellutilities.moc"
