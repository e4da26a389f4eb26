#include "views/theme/icons.h"

#include "views/theme/theme.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <memory>

// Resources of a static library are only linked in when something names them; the macro needs the global
// scope.
void InitIconResources()
{
    Q_INIT_RESOURCE(icons);
}

namespace {

QString GetDrawingName(const QString& sName)
{
    QString sBase = QFileInfo(sName).fileName();
    if (sBase.endsWith(QLatin1String(".png")) || sBase.endsWith(QLatin1String(".svg"))) sBase.chop(4);
    return sBase;
}

QByteArray LoadDrawing(const QString& sName)
{
    static QHash<QString, QByteArray> s_Drawings;
    const QString sBase = GetDrawingName(sName);
    auto it = s_Drawings.constFind(sBase);
    if (it != s_Drawings.constEnd()) return *it;
    static const bool s_Init = (InitIconResources(), true);
    Q_UNUSED(s_Init);
    QByteArray Data;
    QFile File(QStringLiteral(":/Resources/Icons/") + sBase + QStringLiteral(".svg"));
    if (File.open(QIODevice::ReadOnly)) Data = File.readAll();
    s_Drawings.insert(sBase, Data);
    return Data;
}

/// Accents of the drawings are chosen for a light ground; on a dark one they are lifted to keep the same
/// contrast.
struct ACCENT {
    const char* sLight;
    const char* sDark;
};
constexpr ACCENT aAccents[] = {
    {"#2E9E5B", "#4CC582"}, {"#D64545", "#EF6B6B"}, {"#E0A526", "#F0C04A"}, {"#3B82D9", "#6CA8F0"},
    {"#8A5CC2", "#B08CE6"}, {"#8B939E", "#7A828E"}, {"#B53636", "#EF8F8F"}, {"#6F46A6", "#C7AAF2"},
};

/// One renderer a drawing, stroke colour and scheme; drawings are small and there are few of them.
QSvgRenderer* GetRenderer(const QString& sName, const QColor& Stroke)
{
    static QHash<QString, std::shared_ptr<QSvgRenderer>> s_Renderers;
    const bool Dark = CTheme::IsDark();
    const QString sKey = GetDrawingName(sName) + Stroke.name(QColor::HexArgb) + (Dark ? u'd' : u'l');
    auto it = s_Renderers.constFind(sKey);
    if (it != s_Renderers.constEnd()) return it->get();
    QByteArray Data = LoadDrawing(sName);
    if (Data.isEmpty()) return nullptr;
    Data.replace("currentColor", Stroke.name(QColor::HexRgb).toLatin1());
    if (Dark)
        for (const ACCENT& Accent : aAccents) Data.replace(Accent.sLight, Accent.sDark);
    auto pRenderer = std::make_shared<QSvgRenderer>(Data);
    s_Renderers.insert(sKey, pRenderer);
    return pRenderer.get();
}

class CThemeIconEngine : public QIconEngine {
public:
    explicit CThemeIconEngine(const QString& sName) : m_sName(sName) {}

    void paint(QPainter* pPainter, const QRect& Rect, QIcon::Mode Mode, QIcon::State) override
    {
        const QPalette Palette = QGuiApplication::palette();
        const QColor Stroke = Mode == QIcon::Selected ? Palette.color(QPalette::HighlightedText)
                                                      : Palette.color(QPalette::Active, QPalette::ButtonText);
        pPainter->save();
        if (Mode == QIcon::Disabled) pPainter->setOpacity(pPainter->opacity() * 0.38);
        const int Side = qMin(Rect.width(), Rect.height());
        const QRectF Square(Rect.x() + (Rect.width() - Side) / 2.0, Rect.y() + (Rect.height() - Side) / 2.0,
                            Side, Side);
        PaintIcon(*pPainter, m_sName, Square, Stroke);
        pPainter->restore();
    }
    QPixmap pixmap(const QSize& Size, QIcon::Mode Mode, QIcon::State State) override
    {
        return scaledPixmap(Size, Mode, State, 1.0);
    }
    QPixmap scaledPixmap(const QSize& Size, QIcon::Mode Mode, QIcon::State State, qreal) override
    {
        const QString sKey = QStringLiteral("icon_%1_%2x%3_%4_%5")
                                 .arg(m_sName)
                                 .arg(Size.width())
                                 .arg(Size.height())
                                 .arg(int(Mode))
                                 .arg(QGuiApplication::palette().cacheKey(), 0, 16);
        QPixmap Pixmap;
        if (QPixmapCache::find(sKey, &Pixmap)) return Pixmap;
        Pixmap = QPixmap(Size);
        Pixmap.fill(Qt::transparent);
        QPainter Painter(&Pixmap);
        paint(&Painter, QRect(QPoint(0, 0), Size), Mode, State);
        Painter.end();
        QPixmapCache::insert(sKey, Pixmap);
        return Pixmap;
    }
    QIconEngine* clone() const override { return new CThemeIconEngine(m_sName); }
    QString key() const override { return QStringLiteral("VantrelThemeIcon"); }
    QString iconName() override { return m_sName; }
    bool isNull() override { return false; }

private:
    QString m_sName;
};

} // namespace

bool HasIcon(const QString& sName)
{
    return !LoadDrawing(sName).isEmpty();
}

QIcon GetIcon(const QString& sName)
{
    if (!HasIcon(sName)) return QIcon();
    return QIcon(new CThemeIconEngine(GetDrawingName(sName)));
}

void PaintIcon(QPainter& Painter, const QString& sName, const QRectF& Rect, const QColor& Stroke)
{
    // Marks stand in many rows that are painted at every step; a drawing is rendered once for each size.
    const qreal Ratio = Painter.device()->devicePixelRatioF();
    const QSize Size = (Rect.size() * Ratio).toSize();
    const QString sKey = QStringLiteral("mark_%1_%2_%3x%4_%5")
                             .arg(GetDrawingName(sName), Stroke.name(QColor::HexArgb))
                             .arg(Size.width())
                             .arg(Size.height())
                             .arg(CTheme::IsDark());
    QPixmap Pixmap;
    if (!QPixmapCache::find(sKey, &Pixmap)) {
        QSvgRenderer* pRenderer = GetRenderer(sName, Stroke);
        if (!pRenderer || Size.isEmpty()) return;
        Pixmap = QPixmap(Size);
        Pixmap.fill(Qt::transparent);
        QPainter Drawing(&Pixmap);
        Drawing.setRenderHint(QPainter::Antialiasing);
        pRenderer->render(&Drawing, QRectF(QPointF(), QSizeF(Size)));
        Drawing.end();
        Pixmap.setDevicePixelRatio(Ratio);
        QPixmapCache::insert(sKey, Pixmap);
    }
    Painter.drawPixmap(Rect.topLeft().toPoint(), Pixmap);
}
