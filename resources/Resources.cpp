#include "resources/Resources.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>

#include <utility>

namespace zorbel {

namespace {

constexpr double faintness = 0.4;

/// The toolkit greys what is disabled as on a light ground, which leaves it bright on the dark rail.
class FaintWhereDisabled : public QIconEngine {
public:
    explicit FaintWhereDisabled(QIcon icon) : icon_(std::move(icon)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const double opacity = painter->opacity();
        painter->setOpacity(mode == QIcon::Disabled ? opacity * faintness : opacity);
        icon_.paint(painter, rect);
        painter->setOpacity(opacity);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap result(size);
        result.fill(Qt::transparent);
        QPainter painter(&result);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return result;
    }
    QIconEngine* clone() const override { return new FaintWhereDisabled(icon_); }
    bool isNull() override { return icon_.isNull(); }

private:
    QIcon icon_;
};

} // namespace

QIcon toolIcon(const QString& id) {
    return QIcon(new FaintWhereDisabled(QIcon(resourcePath(QStringLiteral("icons/%1.svg").arg(id)))));
}

} // namespace zorbel
