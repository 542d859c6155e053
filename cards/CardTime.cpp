#include "cards/CardTime.h"

#include "controls/TimeEditPopup.h"
#include "shell/AppRootItem.h"
#include "shell/DocumentPart.h"
#include "shell/GlobalInfo.h"
#include "systemset/MeyerSingleton.h"
#include "systemset/SystemSet.h"

#include <QCoreApplication>
#include <QQmlEngine>
#include <QTimer>
#include <QtQuick/private/qquicktext_p.h>

#include <cstdint>
#include <limits>

namespace QSP {

namespace {

constexpr int TickMs = 1000;

} // namespace

CardTime::CardTime(QQuickItem *parent)
    : BaseCard(parent)
    , m_timeTitleRowHeight(GlobalInfo::instance().rowUnit())
    , m_timer(new QTimer(this))
{
    connect(m_timer, &QTimer::timeout, this, &CardTime::updateDateTime);
    m_timer->start(TickMs);
    // The weekday's name follows the language at once, not at the next tick.
    connect(&GlobalInfo::instance(), &GlobalInfo::localeChanged, this, &CardTime::updateDateTime);
    updateDateTime();
}

CardTime::~CardTime()
{
    m_timer->stop();
}

void CardTime::updateDateTime()
{
    showDateTime(QDateTime::currentDateTime());
}

void CardTime::showDateTime(const QDateTime &dateTime)
{
    const QLocale locale = GlobalInfo::instance().locale();
    const QString text = QStringLiteral("%1 %2 %3")
                             .arg(locale.toString(dateTime, QStringLiteral("yyyy/MM/dd")),
                                  locale.toString(dateTime, QStringLiteral("ddd")),
                                  locale.toString(dateTime, QStringLiteral("hh:mm:ss")));
    if (text == m_currentDateTime)
        return;
    m_currentDateTime = text;
    Q_EMIT currentDateTimeChanged();
}

void CardTime::openDialog()
{
    if (!m_dialog)
        addDialog();
    m_dialog->setCurrentDateTime(QDateTime::currentDateTime());
    m_dialog->open();
}

void CardTime::addDialog()
{
    AppRootItem *root = AppRootItem::instance();
    QQuickItem *host = root ? static_cast<QQuickItem *>(root) : this;
    m_dialog = new TimeEditPopup(host);
    m_dialog->setParent(this);
    m_dialog->setX((host->width() - m_dialog->width()) / 2);
    m_dialog->setY((host->height() - m_dialog->height()) / 2);
    connect(m_dialog, &TimeEditPopup::dateTimeConfirmed, this, &CardTime::applyDateTime);
}

void CardTime::applyDateTime(const QDateTime &dateTime)
{
    HMI::SystemSet &system = MeyerSingleton<HMI::SystemSet>::instance();
    // The panel's clock takes seconds since 1970 in 32 bits: a time it cannot hold is not handed over (it
    // would wrap to 1901). A refused time changes nothing: the running clock keeps showing the time as it is.
    const qint64 secs = dateTime.toSecsSinceEpoch();
    if (!dateTime.isValid() || secs < 0 || secs > std::numeric_limits<std::int32_t>::max() ||
        !system.setSystemTime(long(secs)))
        return;
    system.syncHwclock();
    // Show the new time now rather than at the next tick, and count the seconds on from it.
    showDateTime(dateTime);
    m_timer->start(TickMs);
}

void CardTime::componentComplete()
{
    BaseCard::componentComplete();
    m_titleText = documentPart<QQuickText>(this, "titleText");
    setMultilingualText(m_titleText, [] { return QCoreApplication::translate("CardTime", "Time"); });
    m_dateLabel = documentPart<QQuickText>(this, "dateLabel");
    if (m_dateLabel)
        setMultilingualText(m_dateLabel,
                            [] { return QCoreApplication::translate("CardTime", "Date & Time"); });
}

} // namespace QSP
