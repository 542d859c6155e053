#include "cards/WifiPasswordDialog.h"

#include "cards/CardHelpers.h"
#include "cards/CardWifi.h"
#include "controls/BeepButton.h"
#include "controls/Dialog.h"
#include "controls/VkbManager.h"
#include "shell/AppRootItem.h"
#include "shell/GlobalInfo.h"
#include "shell/IconProvider.h"
#include "shell/KeyPressFilter.h"
#include "shell/Palette.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>

namespace QSP {

namespace {

const QColor ACCENT_BLUE(Palette::Accent);
const QColor FOCUS_BLUE(Palette::Focus);
const QColor FRAME_BORDER(Palette::Border);
const QColor CHECKED_BOX(QLatin1String("#537BAD"));

// The dialog is laid out on a 426 x 243 design, scaled to its real size.
constexpr qreal DESIGN_W = 426;
constexpr qreal DESIGN_H = 243;

} // namespace

WifiPasswordDialog::WifiPasswordDialog(CardWifi *card)
    : QObject(card)
    , m_card(card)
{}

QFont WifiPasswordDialog::font() const
{
    QFont font;
    font.setPixelSize(qMax(1, int(m_card->fontSize() * 0.8)));
    return font;
}

void WifiPasswordDialog::openForm(const QString &title)
{
    if (!m_dialog)
        return;
    m_dialog->setTitle(title);
    if (QQuickItem *body = m_dialog->bodyItem())
        body->setVisible(true);
    placeMessage();
    setMessage(QT_TRANSLATE_NOOP("CardWifi", "Enter password"), Qt::black);
    m_dialog->open();
}

void WifiPasswordDialog::openConnecting(const QString &title)
{
    if (!m_dialog)
        return;
    m_dialog->setTitle(title);
    if (QQuickItem *body = m_dialog->bodyItem())
        body->setVisible(false);
    placeMessage();
    m_dialog->open();
}

void WifiPasswordDialog::hideForm()
{
    if (m_dialog && m_dialog->bodyItem())
        m_dialog->bodyItem()->setVisible(false);
}

void WifiPasswordDialog::showFailure(const char *source)
{
    if (QQuickItem *body = m_dialog ? m_dialog->bodyItem() : nullptr)
        body->setVisible(true);
    setMessage(source, Qt::red);
}

QString WifiPasswordDialog::endTyping()
{
    if (!m_passwordInput)
        return QString();
    m_passwordInput->setFocus(false);
    return m_passwordInput->text();
}

void WifiPasswordDialog::close()
{
    if (m_dialog)
        m_dialog->close();
}

void WifiPasswordDialog::setMessage(const char *source, const QColor &color)
{
    if (!m_message)
        return;
    m_messageSource = source;
    m_message->setColor(color);
    m_message->setText(CardWifi::translated(source));
}

void WifiPasswordDialog::placeMessage()
{
    if (!m_dialog || !m_message)
        return;
    const qreal w = m_dialog->width();
    const qreal h = m_dialog->height();
    if (m_card->state() != CardWifi::Connecting) {
        m_message->setParentItem(m_dialog->bodyItem());
        m_message->setPosition(QPointF(w * 79 / DESIGN_W, h * 28 / DESIGN_H));
        return;
    }
    // "Connecting" and the spinner beside it, centred in the whole dialog while the body is hidden.
    setMessage(QT_TRANSLATE_NOOP("CardWifi", "Connecting"), FOCUS_BLUE);
    QQuickItem *content = m_dialog->contentItem();
    m_message->setParentItem(content);
    const qreal spinnerWidth = m_spinner ? m_spinner->width() : 0;
    m_message->setX((content->width() - m_message->width() - spinnerWidth - 12) / 2);
    m_message->setY((content->height() - m_message->height()) / 2);
}

void WifiPasswordDialog::build()
{
    if (m_dialog)
        return;
    const GlobalInfo &info = GlobalInfo::instance();
    auto *dialog = new Dialog(m_card);
    if (QQmlEngine *engine = info.qmlEngine())
        QQmlEngine::setContextForObject(dialog, engine->rootContext());
    dialog->setEnableCloseButton(true);
    dialog->setModal(true);
    dialog->setClosePolicy(QQuickPopup::ClosePolicy());

    qreal w = DESIGN_W;
    qreal h = DESIGN_H;
    if (!info.isScreenPortrait()) {
        const QSize screen = info.screenSize();
        w = 0.416015625 * (info.isNativePortrait() ? screen.height() : screen.width());
        h = w * DESIGN_H / DESIGN_W;
    }
    dialog->setWidth(w);
    dialog->setHeight(h);
    if (AppRootItem *root = AppRootItem::instance()) {
        dialog->setParentItem(root);
        dialog->setX((root->width() - w) / 2);
        dialog->setY((root->height() - h) / 2);
    }

    auto *body = new QQuickItem(m_card);
    dialog->setBodyItem(body);
    m_dialog = dialog;

    // The message: "Enter password", an outcome in red, or "Connecting" centred beside the spinner.
    m_message = newPlainText(body);
    m_message->setFont(font());
    m_message->setPosition(QPointF(w * 79 / DESIGN_W, h * 28 / DESIGN_H));
    setMultilingualText(
        m_message, [this] { return m_messageSource ? CardWifi::translated(m_messageSource) : QString(); });
    connect(m_card, &CardWifi::cardStateChanged, m_message, [this] { placeMessage(); });
    connect(m_message, &QQuickItem::widthChanged, this, [this] {
        if (m_card->state() == CardWifi::Connecting)
            placeMessage();
    });

    // Password field.
    auto *frame = new QQuickRectangle(body);
    frame->setX(qRound(w / 6));
    frame->setY(qRound(h * 60 / DESIGN_H));
    frame->setWidth(qRound(w * 285 / DESIGN_W));
    const int frameHeight = qRound(h * 34 / DESIGN_H);
    frame->setHeight(frameHeight);
    frame->setRadius(qRound(frameHeight * 4.0 / 17));
    frame->border()->setWidth(1);
    frame->border()->setColor(FRAME_BORDER);

    m_passwordInput = new QQuickTextInput(frame);
    QQuickAnchors *inputAnchors = anchorsOf(m_passwordInput);
    inputAnchors->setFill(frame);
    inputAnchors->setLeftMargin(frameHeight * 4.0 / 17);
    inputAnchors->setRightMargin(frameHeight * 4.0 / 17);
    m_passwordInput->setFont(font());
    m_passwordInput->setVAlign(QQuickTextInput::AlignVCenter);
    m_passwordInput->setHAlign(QQuickTextInput::AlignLeft);
    m_passwordInput->setEchoMode(QQuickTextInput::Password);
    m_passwordInput->setClip(true);
    auto *keyFilter = new KeyPressFilter(m_passwordInput);
    keyFilter->setParent(m_passwordInput);
    m_passwordInput->installEventFilter(keyFilter);
    connect(m_passwordInput, &QQuickItem::activeFocusChanged, this, [](bool focused) {
        VkbManager &vkb = VkbManager::instance();
        vkb.showVkb(focused);
        if (!focused)
            return;
        if (vkb.isVisible()) // a layout can only be chosen on a keyboard that is there
            vkb.setLayoutType(VkbLayout_Full);
        BeepButton::beepIfOn();
    });

    // "Show Password": a check box that shows the password in clear.
    auto *showPassword = new BeepButton(body);
    showPassword->setAutoCloseVkb(false);
    showPassword->setFocusPolicy(Qt::NoFocus);
    showPassword->setClip(true);
    showPassword->setCheckable(true);
    const int showX = qRound(w * 79 / DESIGN_W);
    showPassword->setX(showX);
    showPassword->setY(qRound(h * 105 / DESIGN_H));
    showPassword->setWidth(qRound(w - 2 * showX));
    showPassword->setHeight(qRound(h * 20 / DESIGN_H));

    auto *box = new QQuickRectangle(showPassword);
    const int boxSide = qRound(showPassword->height());
    box->setSize(QSizeF(boxSide, boxSide));
    box->border()->setWidth(2);
    box->border()->setColor(FRAME_BORDER);
    auto *tick = new QQuickImage(box);
    IconProvider::setSource(tick, QUrl(QStringLiteral("image://qspicon/tickGray")));
    tick->setSourceSize(QSize(24, 24));
    anchorsOf(tick)->setFill(box);
    anchorsOf(tick)->setMargins(4);
    tick->setVisible(false);

    QQuickText *showText = newPlainText(showPassword);
    showText->setFont(font());
    showText->setX(qRound(box->width() * 1.2));
    centreVertically(showText, showPassword);
    setMultilingualText(showText, [] { return CardWifi::translated("Show Password"); });

    connect(showPassword, &QQuickAbstractButton::checkedChanged, this, [this, showPassword, box, tick] {
        const bool checked = showPassword->isChecked();
        m_passwordInput->setEchoMode(checked ? QQuickTextInput::Normal : QQuickTextInput::Password);
        box->border()->setWidth(checked ? 0 : 2);
        box->border()->setColor(FRAME_BORDER);
        box->setColor(checked ? CHECKED_BOX : QColor(Qt::white));
        tick->setVisible(checked);
    });

    // "Connect".
    auto *connectButton = new BeepButton(body);
    connectButton->setAutoCloseVkb(false);
    connectButton->setFocusPolicy(Qt::NoFocus);
    connectButton->setY(h * 140 / DESIGN_H);
    connectButton->setHeight(h * 32 / DESIGN_H);
    connectButton->setWidth(w * 152 / DESIGN_W);
    anchorsOf(connectButton)->setHorizontalCenter(QQuickItemPrivate::get(body)->horizontalCenter());
    auto *connectBackground = new QQuickRectangle(connectButton);
    connectBackground->setRadius(4);
    connectBackground->setColor(ACCENT_BLUE);
    connectButton->setBackground(connectBackground);
    QQuickText *connectText = newPlainText(connectButton);
    connectText->setFont(font());
    connectText->setColor(Qt::white);
    anchorsOf(connectText)->setCenterIn(connectButton);
    setMultilingualText(connectText, [] { return CardWifi::translated("Connect"); });
    connect(connectButton, &QQuickAbstractButton::clicked, m_card, &CardWifi::onClickConFirm);

    connect(&VkbManager::instance(), &VkbManager::visibleChanged, this, &WifiPasswordDialog::adjust);
    connect(dialog, &QQuickPopup::closed, m_passwordInput,
            [input = m_passwordInput] { input->setText(QString()); });
}

void WifiPasswordDialog::adjust()
{
    AppRootItem *root = AppRootItem::instance();
    if (!m_dialog || !root)
        return;
    VkbManager &vkb = VkbManager::instance();
    const qreal rootHeight = root->height();
    const qreal dialogHeight = m_dialog->height();
    if (vkb.isVisible()) {
        const int y = int((rootHeight - vkb.getHeight() - dialogHeight) / 2);
        m_dialog->setY(y < 0 ? 25 : y);
    } else {
        m_dialog->setY(int((rootHeight - dialogHeight) / 2));
    }
}

} // namespace QSP
