#include "cards/SsidText.h"

#include <QByteArray>
#include <QTextCodec>

namespace QSP {

QString ssidText(const HMI::SSID &ssid)
{
    const QByteArray bytes(ssid.data(), int(qstrnlen(ssid.data(), 32)));
    QTextCodec *utf8 = QTextCodec::codecForName("UTF-8");
    if (!utf8)
        return QString::fromUtf8(bytes);
    QTextCodec::ConverterState state;
    const QString text = utf8->toUnicode(bytes.constData(), bytes.size(), &state);
    // A sequence left incomplete at the end is the 32-byte cut in a full-length name (and is dropped); in a
    // shorter name it is no valid UTF-8 either.
    const bool cutShort = state.remainingChars > 0 && bytes.size() < 32;
    if (state.invalidChars > 0 || cutShort) {
        if (QTextCodec *gb2312 = QTextCodec::codecForName("GB2312")) {
            const QString gb = gb2312->toUnicode(bytes);
            if (!gb.isEmpty())
                return gb;
        }
        // GB2312 drops a lone lead byte: a name of nothing else is shown as replacement characters.
        return QString::fromUtf8(bytes);
    }
    return text;
}

HMI::SSID terminatedSsid(HMI::SSID ssid)
{
    ssid[32] = 0;
    return ssid;
}

} // namespace QSP
