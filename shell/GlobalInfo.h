#pragma once

#include "systemset/MeyerSingleton.h"

#include <QLocale>
#include <QObject>
#include <QPointer>
#include <QSize>

#include <functional>

class QQmlEngine;
class QQuickText;
class QQuickWindow;
class QTranslator;

namespace QSP {

/// What the whole settings screen shares: locale and translator, screen size and orientation, popup z,
/// the QML engine and whether the host is the panel's runtime program.
class GlobalInfo : public QObject, public MeyerSingleton<GlobalInfo>
{
    Q_OBJECT
    /// Locale of the settings screen; every change re-translates every text.
    Q_PROPERTY(QLocale locale READ locale WRITE setLocale NOTIFY localeChanged FINAL)

public:
    QLocale locale() const { return m_locale; }
    /// Stores @p locale, tells the system (Chinese or English) and emits localeChanged(); nothing when equal.
    void setLocale(const QLocale &locale);
    static void switchLanguage(const QLocale &locale);
    /// Follows a language that another program set in the system, without writing it back.
    Q_INVOKABLE void checkExternalLanguageChange();

    QSize screenSize() const { return QSize(m_screenWidth, m_screenHeight); }
    void setScreenWidth(int width) { m_screenWidth = width; }
    void setScreenHeight(int height) { m_screenHeight = height; }
    bool isScreenPortrait() const { return m_screenWidth < m_screenHeight; }
    /// The screen's physical orientation once measured, else the orientation of the screen size.
    bool isNativePortrait() const;
    void initializeNativeOrientation(QQuickWindow *window);
    /// The height unit of the cards' rows on a screen of @p size: in portrait 43 pixels below 600 pixels of
    /// width and 54 from there, in landscape 0.053125 of the width (54.4 on a 1024 pixels wide screen). The
    /// cards that need whole pixels round it down.
    static qreal rowUnitFor(const QSize &size);
    /// The row unit of the settings screen's size.
    qreal rowUnit() const { return rowUnitFor(screenSize()); }
    /// The smallest row unit, that of narrow portrait screens.
    static constexpr qreal NarrowRowUnit = 43;
    /// Below 800 pixels of width the menu fills the screen and pages replace it.
    bool isMenuFill() const { return m_screenWidth < 800; }

    int rootPopupZ() const { return m_rootPopupZ; }
    void setRootPopupZ(int z) { m_rootPopupZ = z; }

    /// The host's engine; null before the screen is built and once the host deleted it.
    QQmlEngine *qmlEngine() const;
    void setQmlEngine(QQmlEngine *engine);

    /// The host program's application name is exactly "tavrex".
    Q_INVOKABLE bool isStartedFromTavrex() const { return m_startedFromTavrex; }

    /// Installs the catalogue for a non-English @p locale, removes it for English.
    void loadTranslationForLocale(const QLocale &locale);

Q_SIGNALS:
    void localeChanged();

private:
    friend class MeyerSingleton<GlobalInfo>;
    GlobalInfo();

    QLocale m_locale{QLocale::English, QLocale::UnitedStates};
    int m_rootPopupZ = 20000;
    int m_screenWidth = -1;
    int m_screenHeight = -1;
    bool m_startedFromTavrex = false;
    QPointer<QQmlEngine> m_qmlEngine;    ///< the host's; null once it is deleted
    QTranslator *m_translator = nullptr; ///< owned by the application object
    bool m_nativePortrait = false;
    bool m_nativeOrientationKnown = false;
};

/// Shows the text that @p text returns in @p item, now and again after every language change, for as long
/// as the item lives.
void setMultilingualText(QQuickText *item, std::function<QString()> text);

} // namespace QSP
