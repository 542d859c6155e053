#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QColor;
class QFont;
class QQuickItem;
class QQuickText;
class QQuickTextInput;

namespace QSP {

class CardWifi;
class Dialog;

/// The password dialog of the Wi-Fi card: the network's name as its title, a message ("Enter password", an
/// outcome in red, or "Connecting" beside the spinner), the password field with "Show Password", and
/// "Connect". While a connection attempt is under way the form is hidden and the message centred.
class WifiPasswordDialog : public QObject
{
    Q_OBJECT

public:
    /// The dialog of @p card, a child of it; made on first use.
    explicit WifiPasswordDialog(CardWifi *card);

    /// The card's spinner, which turns beside "Connecting".
    void setSpinner(QQuickItem *spinner) { m_spinner = spinner; }

    /// Builds the dialog (once).
    void build();
    Dialog *dialog() const { return m_dialog; }
    /// The message under the title; null before the dialog is built.
    QQuickText *message() const { return m_message; }

    /// Opens the dialog on the form for network @p title, with "Enter password".
    void openForm(const QString &title);
    /// Opens the dialog on the attempt under way to network @p title.
    void openConnecting(const QString &title);
    /// Hides the form while an attempt is under way.
    void hideForm();
    /// Shows the form again after a failed attempt, the password still in it, and why in red.
    void showFailure(const char *source);
    /// Ends the typing (the keyboard goes away) and gives the password typed.
    QString endTyping();
    void close();
    /// Keeps the dialog clear of the on-screen keyboard.
    void adjust();

private:
    /// Places the message: on the form, or centred in the dialog beside the spinner while connecting.
    void placeMessage();
    void setMessage(const char *source, const QColor &color);
    QFont font() const;

    CardWifi *m_card = nullptr;
    QPointer<QQuickItem> m_spinner;
    Dialog *m_dialog = nullptr;
    QQuickText *m_message = nullptr;
    const char *m_messageSource = nullptr; ///< untranslated text of the message
    QQuickTextInput *m_passwordInput = nullptr;
};

} // namespace QSP
