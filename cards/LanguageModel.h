#pragma once

#include <QAbstractListModel>
#include <QLocale>
#include <QVector>

namespace QSP {

/// The interface languages the Language page offers, each with whether it is the screen's language now.
///
/// The list is fixed. Its rows report a change of every role whenever the screen's locale changes, so the
/// tick beside the current language follows a switch made here or by another program.
class LanguageModel : public QAbstractListModel
{
    Q_OBJECT

public:
    struct LanguageInfo
    {
        QString name; ///< shown as it is, never translated
        QLocale::Language language;
    };

    enum Roles {
        TextRole = Qt::UserRole + 1, ///< "text": the name
        LangCodeRole,                ///< "langCode": the language as an integer
        IsCurrentRole,               ///< "isCurrent": whether it is the screen's language
    };

    explicit LanguageModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Switches the screen (and the system) to the language of row @p index; nothing for a row outside the
    /// list.
    Q_INVOKABLE void setCurrentLanguage(int index);
    /// The language of the screen's locale.
    QLocale::Language getCurrentSystemLanguage() const;

private:
    QVector<LanguageInfo> m_languages;
};

} // namespace QSP
