#pragma once

#include "VkbInterface.h"

#include <QObject>

/// A keyboard for tests: a modal popup at the bottom of the window holding a keyboard item of a chosen
/// height. Counts the calls the screen makes.
class TestKeyboard : public QObject, public VkbInterface
{
    Q_OBJECT

public:
    explicit TestKeyboard(qreal keyboardHeight = 240);
    ~TestKeyboard();

    void init(QQuickWindow *window, int z) override;
    QQuickPopup *popup() override { return m_popup; }
    QQuickItem *keyboardItem() override { return m_keys; }
    void setVisible(bool visible) override;
    void setPosition(const QPointF &position) override;
    void setLayoutType(VkbLayoutType type) override { m_layout = type; }
    VkbLayoutType layoutType() const override { return m_layout; }
    bool isVisible() const override;

    int initCalls = 0;

private:
    qreal m_height = 240;
    QQuickPopup *m_popup = nullptr;
    QQuickItem *m_keys = nullptr;
    VkbLayoutType m_layout = VkbLayout_Full;
};
