#include "CardDNS.h"

#include "AppRootItem.h"
#include "CIpInput.h"
#include "CardNetwork.h"
#include "GlobalInfo.h"
#include "MeyerSingleton.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QtQuick/private/qquicktext_p.h>

namespace {

const bool s_registered = QSP::AppRootItem::setCardTypeRegistrar(
    QSP::AppRootItem::Card_DNS, [] { qmlRegisterType<QSP::CardDNS>("QQuickSystemSet", 1, 0, "CardDNS"); });

} // namespace

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;

CardNetwork *networkCard()
{
    AppRootItem *root = AppRootItem::instance();
    return root ? qobject_cast<CardNetwork *>(root->getCardItem(AppRootItem::Card_Network)) : nullptr;
}

template<typename T>
T *part(const QObject *object, const char *name)
{
    return qobject_cast<T *>(object->property(name).value<QObject *>());
}

void bindText(QQuickText *text, const char *source)
{
    if (text)
        setMultilingualText(text, [source] { return QCoreApplication::translate("CardDNS", source); });
}

void showServer(CIpInput *input, HMI::IP ip)
{
    if (input && !input->editing())
        input->setIp(QHostAddress(quint32(ip)).toString());
}

} // namespace

CardDNS::CardDNS(QQuickItem *parent)
    : BaseCard(parent)
{
    const GlobalInfo &info = GlobalInfo::instance();
    const int screenWidth = info.screenSize().width();
    if (info.isScreenPortrait())
        m_titleRowHeight = screenWidth < 600 ? 41 : 52;
    else
        m_titleRowHeight = int(screenWidth * 0.051041666666666666);
}

void CardDNS::componentComplete()
{
    BaseCard::componentComplete();
    m_titleText = part<QQuickText>(this, "titleText");
    m_dns1Text = part<QQuickText>(this, "dns1Text");
    m_dns2Text = part<QQuickText>(this, "dns2Text");
    bindText(m_titleText, QT_TRANSLATE_NOOP("CardDNS", "DNS Server"));
    bindText(m_dns1Text, QT_TRANSLATE_NOOP("CardDNS", "DNS 1"));
    bindText(m_dns2Text, QT_TRANSLATE_NOOP("CardDNS", "DNS 2"));
    m_dns1Input = part<CIpInput>(this, "dns1Input");
    m_dns2Input = part<CIpInput>(this, "dns2Input");

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
    showServer(m_dns1Input, dns.first);
    showServer(m_dns2Input, dns.second);
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
