#pragma once

#include <QObject>

namespace QSP {

class TimeEditPopup;

/// Key handling of the date and time fields of a TimeEditPopup.
///
/// Escape and the on-screen keyboard's hide key (0x100000) end the editing, Return and Enter end it and
/// confirm the whole popup, Delete and Clear empty the field. Only key presses on text inputs are handled
/// (and the shortcut checks that precede them, so that Escape stays with the field and does not close the
/// popup).
class TimeKeyPressFilter : public QObject
{
    Q_OBJECT

public:
    /// A filter for the fields of @p popup; the popup owns it.
    explicit TimeKeyPressFilter(TimeEditPopup *popup);

    /// The popup whose fields are watched.
    TimeEditPopup *popup() const { return m_popup; }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    TimeEditPopup *m_popup = nullptr; ///< not owned: the filter's parent
};

} // namespace QSP
