#include "app/icons.h"

#include <QFont>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>
#include <array>

// The drawings are in a resource of the window's static library, which is
// registered by hand because nothing refers to it otherwise.
static void registerIconResource() {
    static const bool registered = [] {
        Q_INIT_RESOURCE(icons);
        return true;
    }();
    (void)registered;
}

namespace rq::ui {

namespace {

// The drawing rendered at the sizes menus and toolbars ask for; rendered here
// so that no image plugin is needed.
QIcon svgIcon(const QString& resource) {
    registerIconResource();
    QSvgRenderer renderer(resource);
    QIcon icon;
    if (!renderer.isValid()) return icon;
    for (int size : {16, 20, 22, 24, 32, 48, 64, 128, 256}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter p(&pixmap);
        renderer.render(&p);
        p.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

}  // namespace

QIcon themeIcon(const char* name) {
    const QString themeName = QString::fromUtf8(name);
    if (QIcon::hasThemeIcon(themeName)) return QIcon::fromTheme(themeName);
    return svgIcon(QStringLiteral(":/icons/") + themeName + QStringLiteral(".svg"));
}

QIcon appIcon() {
    if (QIcon::hasThemeIcon(QStringLiteral("rowquill")))
        return QIcon::fromTheme(QStringLiteral("rowquill"));
    return svgIcon(QStringLiteral(":/icons/rowquill.svg"));
}

QIcon glyphIcon(const QString& glyph, const QColor& color) {
    QIcon icon;
    for (int size : {16, 24, 32}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(color.darker(140));
        p.setBrush(color);
        p.drawRoundedRect(QRectF(0.5, 0.5, size - 1.0, size - 1.0), size / 5.0, size / 5.0);
        QFont font = p.font();
        font.setBold(true);
        font.setPixelSize(glyph.size() > 1 ? size * 9 / 20 : size * 11 / 16);
        p.setFont(font);
        p.setPen(Qt::white);
        p.drawText(QRect(0, 0, size, size), Qt::AlignCenter, glyph);
        p.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

QIcon kindIcon(int kind) {
    static const std::array<QIcon, 6> icons = [] {
        std::array<QIcon, 6> a;
        a[1] = glyphIcon(QStringLiteral("<?"), QColor(40, 90, 170));
        a[2] = glyphIcon(QStringLiteral("E"), QColor(40, 140, 70));
        a[3] = glyphIcon(QStringLiteral("D"), QColor(210, 120, 20));
        a[4] = glyphIcon(QStringLiteral("A"), QColor(120, 60, 160));
        a[5] = glyphIcon(QStringLiteral("@"), QColor(180, 40, 60));
        return a;
    }();
    return kind >= 1 && kind <= 5 ? icons[static_cast<std::size_t>(kind)] : QIcon();
}

}  // namespace rq::ui
