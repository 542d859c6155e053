#include "controls/TimeEditPopup.h"

#include "controls/BeepButton.h"
#include "controls/TimeKeyPressFilter.h"
#include "controls/VkbManager.h"
#include "shell/AppRootItem.h"
#include "shell/GlobalInfo.h"
#include "shell/Palette.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QLocale>
#include <QRegExp>
#include <QRegExpValidator>
#include <QScreen>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace QSP {

namespace {

const QColor TextColor(Palette::Text);
const QColor FieldColor(QStringLiteral("#F7F8FA"));
const QColor FieldBorderColor(Palette::Border);
const QColor FrameBorderColor(QStringLiteral("#C8CDD2"));
const QColor AccentColor(Palette::Accent);

/// The years that the year field accepts: those whose seconds since 1970 the system clock can hold.
constexpr int FirstYear = 1970;
constexpr int LastYear = 2038;

/// The screen size that the settings screen was given, or the primary screen's when it has none yet (a
/// popup shown on its own).
QSize screenSize()
{
    QSize size = GlobalInfo::instance().screenSize();
    if (size.width() <= 0 || size.height() <= 0) {
        if (const QScreen *screen = QGuiApplication::primaryScreen())
            size = screen->size();
    }
    return size;
}

/// The width that the popup fits into: the root item's, or the screen's without a settings screen.
qreal hostWidth()
{
    if (const AppRootItem *root = AppRootItem::instance())
        return root->width();
    return screenSize().width();
}

int fieldText(const QQuickTextInput *input)
{
    return input ? input->text().toInt(nullptr, 10) : 0;
}

} // namespace

TimeEditPopup::TimeEditPopup(QQuickItem *parent)
    : QQuickPopup(parent)
{
    if (parent)
        setParentItem(parent);
    setZ(GlobalInfo::instance().rootPopupZ());
    setWidth(std::min(0.6 * hostWidth(), 500.0));

    connect(this, &QQuickPopup::closed, this, [this] {
        // A field that kept the focus while hidden would take it back on reopening and not open the keyboard
        // on the next tap. By now the popup has lost the active focus, so look at the focus within it.
        for (QQuickTextInput *input : m_inputs) {
            if (input && input->hasFocus())
                input->setFocus(false);
        }
        VkbManager::instance().showVkb(false);
    });
    if (AppRootItem *root = AppRootItem::instance()) {
        connect(root, &QQuickItem::visibleChanged, this, [this, root] {
            if (!root->isVisible())
                close();
        });
    }

    m_keyFilter = new TimeKeyPressFilter(this);
    createUI();
}

TimeEditPopup::~TimeEditPopup()
{
    // The fields go with the popup item, after this part of the popup: they must not call back into it.
    for (QQuickTextInput *input : m_inputs) {
        if (input) {
            input->removeEventFilter(m_keyFilter);
            disconnect(input, nullptr, this, nullptr);
        }
    }
}

void TimeEditPopup::setCurrentDateTime(const QDateTime &dateTime)
{
    if (dateTime != m_currentDateTime || dateTime.isValid() != m_currentDateTime.isValid()) {
        m_currentDateTime = dateTime;
        emit currentDateTimeChanged();
    }
    updateInputsFromDateTime();
}

void TimeEditPopup::updateInputsFromDateTime()
{
    if (std::any_of(m_inputs.cbegin(), m_inputs.cend(), [](const QQuickTextInput *i) { return !i; }))
        return;
    if (!m_currentDateTime.isValid()) {
        for (QQuickTextInput *input : m_inputs)
            input->clear();
        return;
    }
    const QDate date = m_currentDateTime.date();
    const QTime time = m_currentDateTime.time();
    const auto twoDigits = [](int value) { return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0')); };
    m_inputs[Year]->setText(QLocale::c().toString(m_currentDateTime, QStringLiteral("yyyy")));
    m_inputs[Month]->setText(twoDigits(date.month()));
    // After year and month, so that a day re-checked against a half-filled row is written again.
    m_inputs[Day]->setText(twoDigits(date.day()));
    m_inputs[Hour]->setText(twoDigits(time.hour()));
    m_inputs[Minute]->setText(twoDigits(time.minute()));
    m_inputs[Second]->setText(twoDigits(time.second()));
}

bool TimeEditPopup::validateInputs() const
{
    const QDateTime value = getInputDateTime();
    // A year cut short ("203") still makes a date, but not one that the system clock can be set to. Nor can
    // a time of 2038 past the panel's clock, which counts seconds since 1970 in 32 bits (2038-01-19 03:14:07
    // UTC is its last).
    const qint64 secs = value.toSecsSinceEpoch();
    return value.isValid() && value.date().year() >= FirstYear && value.date().year() <= LastYear &&
           secs >= 0 && secs <= std::numeric_limits<std::int32_t>::max();
}

QDateTime TimeEditPopup::getInputDateTime() const
{
    for (const QQuickTextInput *input : m_inputs) {
        // An empty hour, minute or second would read as 0: the user has not finished typing.
        if (!input || input->text().isEmpty())
            return QDateTime();
    }
    const QDate date(fieldText(m_inputs[Year]), fieldText(m_inputs[Month]), fieldText(m_inputs[Day]));
    const QTime time(fieldText(m_inputs[Hour]), fieldText(m_inputs[Minute]), fieldText(m_inputs[Second]), 0);
    if (!date.isValid() || !time.isValid())
        return QDateTime();
    // Invalid as well when the local clock skips that time (the start of daylight saving time).
    return QDateTime(date, time, Qt::LocalTime);
}

void TimeEditPopup::onConfirmClicked()
{
    if (!validateInputs()) {
        if (m_refusal)
            m_refusal->setVisible(true);
        return;
    }
    setCurrentDateTime(getInputDateTime());
    emit dateTimeConfirmed(m_currentDateTime);
    VkbManager::instance().showVkb(false);
    close();
}

void TimeEditPopup::validateDayAgainstMonth()
{
    QQuickTextInput *dayInput = m_inputs[Day];
    if (!dayInput || dayInput->text().isEmpty())
        return;
    const int year = fieldText(m_inputs[Year]);
    const int month = fieldText(m_inputs[Month]);
    // A year below the first one the field accepts is still being typed ("2" on the way to "2024"): judging
    // February by it would throw away a 29th that the finished year allows.
    if (year < FirstYear)
        return;
    const QDate firstOfMonth(year, month, 1);
    if (firstOfMonth.isValid() && fieldText(dayInput) > firstOfMonth.daysInMonth())
        dayInput->clear();
}

QValidator *TimeEditPopup::createValidator(InputType type, QObject *parent)
{
    QString pattern;
    switch (type) {
    case Year: // 1970 to 2038
        pattern = QStringLiteral("^(1(9(7[0-9]?|8[0-9]?|9[0-9]?)?)?|2(0([0-2][0-9]?|3[0-8]?)?)?)?$");
        break;
    case Month:
        pattern = QStringLiteral("^(0?[1-9]|1[0-2])?$");
        break;
    case Day:
        pattern = QStringLiteral("^(0?[1-9]|[12][0-9]|3[01])?$");
        break;
    case Hour:
        pattern = QStringLiteral("^([01]?[0-9]|2[0-3])?$");
        break;
    case Minute:
    case Second:
        pattern = QStringLiteral("^([0-5]?[0-9])?$");
        break;
    }
    return new QRegExpValidator(QRegExp(pattern, Qt::CaseSensitive), parent);
}

void TimeEditPopup::createUI()
{
    const qreal unit = GlobalInfo::rowUnitFor(screenSize());
    const qreal available = hostWidth();
    qreal factor = 1;
    if (available >= 1920)
        factor = 0.8;
    else if (available >= 1280)
        factor = 0.85;
    else if (available >= 1024)
        factor = 0.9;
    const qreal s = std::min(available / 800, unit / GlobalInfo::NarrowRowUnit) * factor;

    setWidth(672 * s);
    setHeight(76 * s);

    QQuickItem *content = contentItem();
    m_background = new QQuickRectangle(content);
    m_background->setObjectName(QStringLiteral("timeEditBackground"));
    m_background->setSize(QSizeF(672 * s, 76 * s));
    m_background->setColor(Qt::white);
    m_background->setRadius(GlobalInfo::instance().isScreenPortrait() ? 8 * s : 15 * s);
    m_background->border()->setWidth(available >= 1920 ? 2 : 1);
    m_background->border()->setColor(FrameBorderColor);
    m_background->setZ(-1);
    setBackground(m_background);

    createInputFields(content, s, unit);
    updateInputsFromDateTime();

    // In the strip under the fields: why "OK" did nothing (an empty field, a day the month lacks, a time
    // the clock cannot hold). Gone as soon as the user types again, and on every opening.
    m_refusal = new QQuickText(content);
    m_refusal->setObjectName(QStringLiteral("timeEditRefusal"));
    m_refusal->setTextFormat(QQuickText::PlainText);
    m_refusal->setPosition(QPointF(20 * s, 57 * s));
    m_refusal->setSize(QSizeF(632 * s, 17 * s));
    m_refusal->setVAlign(QQuickText::AlignVCenter);
    m_refusal->setColor(QColor::fromRgb(Palette::Error));
    QFont font = m_refusal->font();
    font.setPixelSize(std::max(int(unit * 0.3), 1));
    m_refusal->setFont(font);
    m_refusal->setVisible(false);
    setMultilingualText(m_refusal,
                        [] { return QCoreApplication::translate("TimeEditPopup", "Invalid date"); });
    const auto hideRefusal = [this] { m_refusal->setVisible(false); };
    connect(this, &QQuickPopup::aboutToShow, m_refusal, hideRefusal);
    for (QQuickTextInput *input : m_inputs)
        connect(input, &QQuickTextInput::textChanged, m_refusal, hideRefusal);
}

void TimeEditPopup::createInputFields(QQuickItem *parent, qreal s, qreal unit)
{
    const int fontSize = int(unit * 0.35);
    const int separatorFontSize = int(unit * 0.4);
    const qreal y = 20 * s;
    const qreal height = 36 * s;
    qreal x = 20 * s;

    const auto addField = [&](InputType type, qreal width, qreal gapAfter) {
        QQuickTextInput *input = createInput(parent, x, y, width, height, fontSize);
        setupInputValidator(input, type);
        m_inputs[type] = input;
        x += width + gapAfter;
    };
    const auto addSeparator = [&](const QString &text) {
        createSeparator(parent, text, x, y, separatorFontSize, height);
        x += 20 * s;
    };

    addField(Year, 85 * s, 8 * s);
    addSeparator(QStringLiteral("/"));
    addField(Month, 60 * s, 8 * s);
    addSeparator(QStringLiteral("/"));
    addField(Day, 60 * s, 35 * s);
    addField(Hour, 60 * s, 8 * s);
    addSeparator(QStringLiteral(":"));
    addField(Minute, 60 * s, 8 * s);
    addSeparator(QStringLiteral(":"));
    addField(Second, 60 * s, 20 * s);
    createButtons(parent, x, y, s, int(unit * 0.35 * 0.9));

    static const char *const names[] = {"yearInput", "monthInput",  "dayInput",
                                        "hourInput", "minuteInput", "secondInput"};
    for (int type = Year; type <= Second; ++type)
        m_inputs[type]->setObjectName(QString::fromLatin1(names[type]));

    connect(m_inputs[Year], &QQuickTextInput::textChanged, this, &TimeEditPopup::validateDayAgainstMonth);
    connect(m_inputs[Month], &QQuickTextInput::textChanged, this, &TimeEditPopup::validateDayAgainstMonth);
}

QQuickTextInput *TimeEditPopup::createInput(QQuickItem *parent, qreal x, qreal y, qreal width, qreal height,
                                            int fontSize)
{
    auto *input = new QQuickTextInput(parent);
    input->setPosition(QPointF(x, y));
    input->setSize(QSizeF(width, height));
    QFont font = input->font();
    font.setPixelSize(std::max(fontSize, 1));
    input->setFont(font);
    input->setColor(TextColor);
    input->setHAlign(QQuickTextInput::AlignHCenter);
    input->setVAlign(QQuickTextInput::AlignVCenter);
    input->setInputMethodHints(Qt::ImhDigitsOnly);

    auto *frame = new QQuickRectangle(input);
    frame->setSize(QSizeF(width, height));
    frame->setZ(-1);
    frame->setRadius(4);
    frame->setColor(FieldColor);
    frame->border()->setWidth(1);
    frame->border()->setColor(FieldBorderColor);

    input->installEventFilter(m_keyFilter);
    connect(input, &QQuickItem::activeFocusChanged, this,
            [this, input] { onInputActiveFocusChanged(input); });
    return input;
}

QQuickText *TimeEditPopup::createSeparator(QQuickItem *parent, const QString &text, qreal x, qreal y,
                                           int fontSize, qreal height)
{
    auto *separator = new QQuickText(parent);
    separator->setTextFormat(QQuickText::PlainText);
    separator->setText(text);
    separator->setPosition(QPointF(x, y));
    separator->setHeight(height);
    QFont font = separator->font();
    font.setPixelSize(std::max(fontSize, 1));
    separator->setFont(font);
    separator->setColor(TextColor);
    separator->setVAlign(QQuickText::AlignVCenter);
    return separator;
}

void TimeEditPopup::createButtons(QQuickItem *parent, qreal x, qreal y, qreal s, int fontSize)
{
    m_confirmButton = new BeepButton(parent);
    m_confirmButton->setObjectName(QStringLiteral("confirmButton"));
    m_confirmButton->setPosition(QPointF(x, y));
    m_confirmButton->setSize(QSizeF(80 * s, 36 * s));

    auto *face = new QQuickRectangle(m_confirmButton);
    face->setSize(QSizeF(80 * s, 36 * s));
    face->setRadius(5);
    face->setColor(AccentColor);
    m_confirmButton->setBackground(face);

    auto *label = new QQuickText(m_confirmButton);
    label->setTextFormat(QQuickText::PlainText);
    QFont font = label->font();
    font.setPixelSize(std::max(fontSize, 1));
    label->setFont(font);
    label->setColor(Qt::white);
    label->setHAlign(QQuickText::AlignHCenter);
    label->setVAlign(QQuickText::AlignVCenter);
    setMultilingualText(label, [] { return QCoreApplication::translate("TimeEditPopup", "OK"); });
    m_confirmButton->setContentItem(label);

    connect(m_confirmButton, &QQuickAbstractButton::clicked, this, &TimeEditPopup::onConfirmClicked);
}

void TimeEditPopup::setupInputValidator(QQuickTextInput *input, InputType type)
{
    if (input)
        input->setValidator(createValidator(type, input));
}

void TimeEditPopup::onInputActiveFocusChanged(QQuickTextInput *input)
{
    VkbManager &vkb = VkbManager::instance();
    if (input->hasActiveFocus()) {
        BeepButton::beepIfOn();
        vkb.showVkb(true);
        // Only a keyboard that could be loaded is shown; without one there is no layout to choose.
        if (vkb.isVisible())
            vkb.setLayoutType(VkbLayout_DateTime);
        input->selectAll();
    } else if (!anyInputHasActiveFocus()) {
        // Moving on to the next field keeps the keyboard up.
        vkb.showVkb(false);
    }
}

bool TimeEditPopup::anyInputHasActiveFocus() const
{
    return std::any_of(m_inputs.cbegin(), m_inputs.cend(),
                       [](const QQuickTextInput *input) { return input && input->hasActiveFocus(); });
}

} // namespace QSP
