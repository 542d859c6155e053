#include "ControlFixture.h"

#include "AppRootItem.h"
#include "PanelSimulator.h"
#include "QVkbPluginLoader.h"

#include <QProcess>
#include <QQmlComponent>

#include <algorithm>

namespace {

/// Set in the second run of a test program, the one with a test keyboard.
const char KeyboardVariable[] = "QSP_TEST_WITH_KEYBOARD";

int g_warnings = 0;
QtMessageHandler g_previousHandler = nullptr;

void countWarning(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    g_warnings += type == QtWarningMsg && qstrcmp(context.category, "default") == 0;
    g_previousHandler(type, context, message);
}

} // namespace

ControlFixture::~ControlFixture()
{
    if (m_keyboard)
        QVkbPluginLoader::instance()->setVkb(nullptr);
}

bool ControlFixture::showWindow()
{
    if (qEnvironmentVariableIsSet(KeyboardVariable) && !m_keyboard) {
        m_keyboard = std::make_unique<TestKeyboard>(200);
        QVkbPluginLoader::instance()->setVkb(m_keyboard.get());
    }
    if (!m_elsewhere)
        m_elsewhere = new QQuickItem(m_window.contentItem());
    m_window.resize(800, 600);
    m_window.show();
    m_window.requestActivate();
    return QTest::qWaitForWindowActive(&m_window);
}

QObject *ControlFixture::create(const QByteArray &qml)
{
    QQmlComponent component(&m_engine);
    component.setData("import QtQuick 2.15\nimport QQuickSystemSet 1.0\n" + qml,
                      QUrl(QStringLiteral("test.qml")));
    QObject *object = component.create();
    if (!object) {
        qWarning().noquote() << component.errorString();
        return nullptr;
    }
    object->setParent(&m_window);
    if (auto *item = qobject_cast<QQuickItem *>(object))
        item->setParentItem(m_window.contentItem());
    return object;
}

void ControlFixture::click(QQuickItem *item)
{
    const QPointF centre(item->width() / 2, item->height() / 2);
    QTest::mouseClick(item->window(), Qt::LeftButton, Qt::NoModifier, item->mapToScene(centre).toPoint());
}

bool ControlFixture::clickButton(QQuickItem *button)
{
    QSignalSpy clicked(button, SIGNAL(clicked()));
    if (!clicked.isValid() || !button->window())
        return false;
    click(button);
    return clicked.count() == 1;
}

void ControlFixture::focusElsewhere()
{
    m_elsewhere->forceActiveFocus();
}

bool ControlFixture::setBuzzer(bool on)
{
    const bool loaded =
        HMI::PanelSimulator::loadStateJson(on ? R"({"buzzer": true})" : R"({"buzzer": false})");
    HMI::PanelSimulator::clearCallLog();
    return loaded;
}

int ControlFixture::beeps()
{
    const std::vector<std::string> log = HMI::PanelSimulator::callLog();
    return int(std::count(log.begin(), log.end(), "beep 1"));
}

void ControlFixture::rerunWithKeyboard()
{
    if (qEnvironmentVariableIsSet(KeyboardVariable))
        QSKIP("this is the run with a keyboard");
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(KeyboardVariable), QStringLiteral("1"));
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(), QStringList());
    QVERIFY(child.waitForFinished(240000));
    QVERIFY2(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0,
             child.readAll().constData());
}

bool ControlFixture::checkRootPopup(const std::function<QQuickPopup *()> &make)
{
    auto *root = new QSP::AppRootItem(m_window.contentItem());
    QSP::GlobalInfo &info = QSP::GlobalInfo::instance();
    const int z = info.rootPopupZ();
    info.setRootPopupZ(4321);
    QQuickPopup *popup = make();
    info.setRootPopupZ(z);
    const auto opened = [popup] { return popup->isOpened(); };
    const auto hidden = [popup] { return !popup->isVisible(); };
    popup->open();
    bool closes = popup->z() == 4321 && QTest::qWaitFor(opened);
    root->setVisible(false);
    closes = closes && QTest::qWaitFor(hidden);
    root->setVisible(true);
    QTest::qWait(50);
    closes = closes && hidden();
    delete root;
    popup->open();
    closes = closes && QTest::qWaitFor(opened);
    popup->close();
    return closes && QTest::qWaitFor(hidden);
}

int ControlFixture::countWarnings(const std::function<void()> &action)
{
    g_warnings = 0;
    g_previousHandler = qInstallMessageHandler(countWarning);
    action();
    qInstallMessageHandler(g_previousHandler);
    return g_warnings;
}
