#include "shell/GlobalInfo.h"

#include "systemset/SystemSet.h"

#include <QCoreApplication>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>
#include <QTranslator>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

namespace {

HMI::SystemSet::Language systemLanguageOf(const QLocale &locale)
{
    return locale.language() == QLocale::Chinese ? HMI::SystemSet::LANG_CHINESE
                                                 : HMI::SystemSet::LANG_ENGLISH;
}

} // namespace

GlobalInfo::GlobalInfo()
    : m_startedFromTavrex(QCoreApplication::applicationName() == QLatin1String("tavrex"))
{
    MeyerSingleton<HMI::SystemSet>::instance().setLanguage(HMI::SystemSet::LANG_ENGLISH);
    loadTranslationForLocale(m_locale);
    // Connected before anyone else can connect: the new catalogue is in place before any text re-translates.
    connect(this, &GlobalInfo::localeChanged, this, [this] { loadTranslationForLocale(m_locale); });
}

void GlobalInfo::setLocale(const QLocale &locale)
{
    if (locale == m_locale)
        return;
    m_locale = locale;
    MeyerSingleton<HMI::SystemSet>::instance().setLanguage(systemLanguageOf(locale));
    Q_EMIT localeChanged();
}

void GlobalInfo::switchLanguage(const QLocale &locale)
{
    instance().setLocale(locale);
}

void GlobalInfo::checkExternalLanguageChange()
{
    const QLocale system =
        MeyerSingleton<HMI::SystemSet>::instance().getLanguage() != HMI::SystemSet::LANG_CHINESE
            ? QLocale(QLocale::English, QLocale::UnitedStates)
            : QLocale(QLocale::Chinese, QLocale::China);
    if (system.language() == m_locale.language())
        return;
    m_locale = system;
    Q_EMIT localeChanged();
}

qreal GlobalInfo::rowUnitFor(const QSize &size)
{
    if (size.width() < size.height())
        return size.width() < 600 ? NarrowRowUnit : 54;
    return size.width() * 0.053125;
}

bool GlobalInfo::isNativePortrait() const
{
    return m_nativeOrientationKnown ? m_nativePortrait : m_screenHeight > m_screenWidth;
}

void GlobalInfo::initializeNativeOrientation(QQuickWindow *window)
{
    if (!window || m_nativeOrientationKnown || !window->screen())
        return;
    const QSizeF size = window->screen()->physicalSize();
    m_nativePortrait = qRound(size.width()) < qRound(size.height());
    m_nativeOrientationKnown = true;
}

QQmlEngine *GlobalInfo::qmlEngine() const
{
    return m_qmlEngine;
}

void GlobalInfo::setQmlEngine(QQmlEngine *engine)
{
    if (m_qmlEngine != engine)
        m_qmlEngine = engine;
}

void GlobalInfo::loadTranslationForLocale(const QLocale &locale)
{
    static const QString TRANSLATION_PATH = QStringLiteral(":/setting/translations/settings.qm");
    if (m_translator)
        QCoreApplication::removeTranslator(m_translator);
    if (locale.language() == QLocale::English)
        return; // the source texts are English; the translator is kept for the next switch
    if (!m_translator)
        m_translator = new QTranslator(QCoreApplication::instance());
    // Every other language gets the one catalogue there is, Simplified Chinese.
    if (m_translator->load(TRANSLATION_PATH))
        QCoreApplication::installTranslator(m_translator);
}

void setMultilingualText(QQuickText *item, std::function<QString()> text)
{
    if (!item || !text)
        return;
    item->setText(text());
    QObject::connect(&GlobalInfo::instance(), &GlobalInfo::localeChanged, item,
                     [item, text] { item->setText(text()); });
}

} // namespace QSP
