#pragma once

#include <QDateTime>
#include <QtQuickTemplates2/private/qquickpopup_p.h>

#include <array>

class QQuickRectangle;
class QQuickText;
class QQuickTextInput;
class QValidator;

namespace QSP {

class BeepButton;
class TimeKeyPressFilter;

/// A one-row popup for typing a new date and time: year / month / day, hour : minute : second and "OK".
///
/// Each field accepts only digits that can still become a valid value, the day is emptied when the year
/// or the month rules it out, and "OK" (or Return in a field) reports the typed value only when it is a
/// real date and time, then closes. The on-screen keyboard opens with its date and time keys while a field
/// has the focus and is put away when the popup closes.
class TimeEditPopup : public QQuickPopup
{
    Q_OBJECT
    /// The date and time that the fields were filled from, and after "OK" the confirmed value.
    Q_PROPERTY(QDateTime currentDateTime READ currentDateTime WRITE setCurrentDateTime NOTIFY
                   currentDateTimeChanged FINAL)

public:
    /// The kind of a field, in the order of the row.
    enum InputType {
        Year = 0,
        Month = 1,
        Day = 2,
        Hour = 3,
        Minute = 4,
        Second = 5,
    };
    Q_ENUM(InputType)

    explicit TimeEditPopup(QQuickItem *parent = nullptr);
    ~TimeEditPopup() override;

    QDateTime currentDateTime() const { return m_currentDateTime; }
    /// Stores @p dateTime and refills every field from it.
    void setCurrentDateTime(const QDateTime &dateTime);

    /// The field of the given kind.
    QQuickTextInput *inputField(InputType type) const { return m_inputs.at(type); }
    /// The "OK" button.
    BeepButton *confirmButton() const { return m_confirmButton; }
    /// The red line under the fields that says why "OK" was refused; hidden until then.
    QQuickText *refusalText() const { return m_refusal; }

    /// Fills the fields from currentDateTime(): a four-digit year, two digits for everything else.
    void updateInputsFromDateTime();
    /// Whether the fields make a real local date and time in the years the year field accepts.
    bool validateInputs() const;
    /// The local date and time that the fields make; invalid when a field is empty or out of range.
    QDateTime getInputDateTime() const;

    /// A regular-expression validator for a field of kind @p type, owned by @p parent.
    static QValidator *createValidator(InputType type, QObject *parent = nullptr);

public Q_SLOTS:
    /// Confirms the typed value: when it is not a real date and time the clock can hold, says so under the
    /// fields; else stores it, emits dateTimeConfirmed(), puts the keyboard away and closes.
    void onConfirmClicked();
    /// Empties the day when the year and month typed so far leave no room for it.
    void validateDayAgainstMonth();

Q_SIGNALS:
    void currentDateTimeChanged();
    /// The user confirmed @p dateTime (a valid local date and time).
    void dateTimeConfirmed(QDateTime dateTime);

private:
    void createUI();
    void createInputFields(QQuickItem *parent, qreal scale, qreal unit);
    QQuickTextInput *createInput(QQuickItem *parent, qreal x, qreal y, qreal width, qreal height,
                                 int fontSize);
    QQuickText *createSeparator(QQuickItem *parent, const QString &text, qreal x, qreal y, int fontSize,
                                qreal height);
    void createButtons(QQuickItem *parent, qreal x, qreal y, qreal scale, int fontSize);
    void setupInputValidator(QQuickTextInput *input, InputType type);
    void onInputActiveFocusChanged(QQuickTextInput *input);
    bool anyInputHasActiveFocus() const;

    QDateTime m_currentDateTime = QDateTime::currentDateTime();
    std::array<QQuickTextInput *, 6> m_inputs{}; ///< year, month, day, hour, minute, second
    BeepButton *m_confirmButton = nullptr;
    QQuickText *m_refusal = nullptr;
    QQuickRectangle *m_background = nullptr;
    TimeKeyPressFilter *m_keyFilter = nullptr;
};

} // namespace QSP
