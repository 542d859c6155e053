#include "cards/CardDNS.h"

#include "cards/CardHelpers.h"
#include "cards/CardNetwork.h"
#include "controls/CIpInput.h"
#include "shell/AppRootItem.h"
#include "shell/DocumentPart.h"
#include "systemset/MeyerSingleton.h"

#include <QHostAddress>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;

CardNetwork *networkCard()
{
    return screenCard<CardNetwork>(AppRootItem::Card_Network);
}

void bindText(QQuickText *text, const char *source)
{
    bindTranslatedText(text, "CardDNS", source);
}

} // namespace

CardDNS::CardDNS(QQuickItem *parent)
    : BaseCard(parent)
    , m_titleRowHeight(sideCardRowHeight())
{}

void CardDNS::componentComplete()
{
    BaseCard::componentComplete();
    m_titleText = documentPart<QQuickText>(this, "titleText");
    m_dns1Text = documentPart<QQuickText>(this, "dns1Text");
    m_dns2Text = documentPart<QQuickText>(this, "dns2Text");
    bindText(m_titleText, QT_TRANSLATE_NOOP("CardDNS", "DNS Server"));
    bindText(m_dns1Text, QT_TRANSLATE_NOOP("CardDNS", "DNS 1"));
    bindText(m_dns2Text, QT_TRANSLATE_NOOP("CardDNS", "DNS 2"));
    m_dns1Input = documentPart<CIpInput>(this, "dns1Input");
    m_dns2Input = documentPart<CIpInput>(this, "dns2Input");

    loadDnsAndShow();
    updateEnable_DNS();

    if (AppRootItem *root = AppRootItem::instance())
        connect(root, &AppRootItem::opened, this, &CardDNS::loadDnsAndShow);
    if (CardNetwork *network = networkCard()) {
        connect(network, &CardNetwork::netDisabledChanged, this, &CardDNS::updateEnable_DNS);
        connect(network, &CardNetwork::useStaticIpChanged, this, &CardDNS::updateEnable_DNS);
    }
    for (CIpInput *input : {m_dns1Input, m_dns2Input}) {
        if (input)
            connect(input, &CIpInput::ipChangedByEdit, this, &CardDNS::saveBoth);
    }
}

void CardDNS::loadDnsAndShow() const
{
    const CardNetwork *network = networkCard();
    if (!network || !network->currentNIC())
        return;
    const std::pair<HMI::IP, HMI::IP> dns = Panel::instance().getDns(network->currentNIC());
    showAddress(m_dns1Input, dns.first);
    showAddress(m_dns2Input, dns.second);
}

void CardDNS::saveBoth()
{
    saveDns(
        qMakePair(m_dns1Input ? m_dns1Input->ip() : QString(), m_dns2Input ? m_dns2Input->ip() : QString()));
}

void CardDNS::saveDns(const QPair<QString, QString> &dns)
{
    const CardNetwork *network = networkCard();
    if (!network || !network->currentNIC())
        return;
    const HMI::IP first = QHostAddress(dns.first).toIPv4Address();
    const HMI::IP second = QHostAddress(dns.second).toIPv4Address();
    Panel::instance().setDns(network->currentNIC(), std::make_pair(first, second));
}

void CardDNS::updateEnable_DNS()
{
    // Without the Network card there is no interface to edit.
    const CardNetwork *network = networkCard();
    const bool editable = network && network->allow_ModifyIPInfo(network->currentNIC());
    for (CIpInput *input : {m_dns1Input, m_dns2Input}) {
        if (input)
            input->setEnabled(editable);
    }
}

void CardDNS::disableDns()
{
    for (CIpInput *input : {m_dns1Input, m_dns2Input}) {
        if (input)
            input->setIp(QStringLiteral("0.0.0.0"));
    }
}

} // namespace QSP
