#pragma once

#include <QColor>
#include <QSGMaterial>

namespace ambrel {

/// The centre disc's look, computed per pixel: disc, track band and fullness arc.
class DiscMaterial : public QSGMaterial {
public:
    struct Look {
        float level = 0;
        float centerRadius = 0.3f;
        float pxPerUnit = 1;
        QColor disc, arc, track;
        bool operator==(const Look&) const = default;
    };

    /// Inside this radius (ring units) the disc is plainly its colour: the band, the arc and
    /// the soft edge all lie outside it. The proportions are those of disc.frag.
    static double plainRadius(const Look& look);
    /// Where the disc's soft edge has faded out.
    static double edgeRadius(const Look& look);

    DiscMaterial();
    QSGMaterialType* type() const override;
    QSGMaterialShader* createShader(QSGRendererInterface::RenderMode mode) const override;
    int compare(const QSGMaterial* other) const override;

    Look look;
};

} // namespace ambrel
