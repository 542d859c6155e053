#include "cards/LanguageModel.h"

#include "shell/GlobalInfo.h"

namespace QSP {

LanguageModel::LanguageModel(QObject *parent)
    : QAbstractListModel(parent)
{
    // Only the way back to English is offered: Chinese is chosen on the panel itself, outside this screen.
    m_languages.append({QStringLiteral("English"), QLocale::English});

    connect(&GlobalInfo::instance(), &GlobalInfo::localeChanged, this, [this] {
        if (!m_languages.isEmpty())
            Q_EMIT dataChanged(index(0, 0), index(m_languages.size() - 1, 0), {});
    });
}

int LanguageModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_languages.size();
}

QVariant LanguageModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() < 0 || index.row() >= m_languages.size())
        return QVariant();
    const LanguageInfo &info = m_languages.at(index.row());
    switch (role) {
    case TextRole:
        return info.name;
    case LangCodeRole:
        return int(info.language);
    case IsCurrentRole:
        return info.language == getCurrentSystemLanguage();
    default:
        return QVariant();
    }
}

QHash<int, QByteArray> LanguageModel::roleNames() const
{
    return {
        {TextRole, QByteArrayLiteral("text")},
        {LangCodeRole, QByteArrayLiteral("langCode")},
        {IsCurrentRole, QByteArrayLiteral("isCurrent")},
    };
}

void LanguageModel::setCurrentLanguage(int index)
{
    if (index < 0 || index >= m_languages.size())
        return;
    GlobalInfo::switchLanguage(QLocale(m_languages.at(index).language, QLocale::AnyCountry));
}

QLocale::Language LanguageModel::getCurrentSystemLanguage() const
{
    return GlobalInfo::instance().locale().language();
}

} // namespace QSP
