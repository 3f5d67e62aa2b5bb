#include "DiscMaterial.hpp"

#include <QSGMaterialShader>

#include <cstring>

namespace ambrel {

namespace {

// Offsets in the shaders' std140 uniform block.
constexpr int matrixOffset = 0;
constexpr int opacityOffset = 64;
constexpr int levelOffset = 68;
constexpr int discColorOffset = 80;
constexpr int blockSize = 128;

void writeColor(QByteArray* buffer, int offset, const QColor& c) {
    const float rgba[4] = {c.redF(), c.greenF(), c.blueF(), c.alphaF()};
    std::memcpy(buffer->data() + offset, rgba, sizeof rgba);
}

class DiscShader : public QSGMaterialShader {
public:
    DiscShader() {
        setShaderFileName(VertexStage, QStringLiteral(":/shaders/disc.vert.qsb"));
        setShaderFileName(FragmentStage, QStringLiteral(":/shaders/disc.frag.qsb"));
    }

    bool updateUniformData(RenderState& state, QSGMaterial* newMaterial,
                           QSGMaterial* oldMaterial) override {
        QByteArray* buffer = state.uniformData();
        Q_ASSERT(buffer->size() >= blockSize);
        if (state.isMatrixDirty()) {
            const QMatrix4x4 m = state.combinedMatrix();
            std::memcpy(buffer->data() + matrixOffset, m.constData(), 64);
        }
        if (state.isOpacityDirty()) {
            const float opacity = state.opacity();
            std::memcpy(buffer->data() + opacityOffset, &opacity, 4);
        }
        // The same material object carries a new look every frame: always write it.
        (void)oldMaterial;
        const auto& look = static_cast<DiscMaterial*>(newMaterial)->look;
        const float scalars[3] = {look.level, look.centerRadius, look.pxPerUnit};
        std::memcpy(buffer->data() + levelOffset, scalars, sizeof scalars);
        writeColor(buffer, discColorOffset, look.disc);
        writeColor(buffer, discColorOffset + 16, look.arc);
        writeColor(buffer, discColorOffset + 32, look.track);
        return true;
    }
};

} // namespace

double DiscMaterial::edgeRadius(const Look& look) {
    return look.centerRadius * 0.94;
}

double DiscMaterial::plainRadius(const Look& look) {
    // The band is 8.5 % of the edge radius wide and 3.5 % in from the edge; its soft inner
    // side starts 1.2 pixels further in.
    return edgeRadius(look) * (1 - 0.085 - 0.035) - 1.2 / look.pxPerUnit;
}

DiscMaterial::DiscMaterial() {
    setFlag(Blending);
}

QSGMaterialType* DiscMaterial::type() const {
    static QSGMaterialType kind;
    return &kind;
}

QSGMaterialShader* DiscMaterial::createShader(QSGRendererInterface::RenderMode) const {
    return new DiscShader;
}

int DiscMaterial::compare(const QSGMaterial* other) const {
    const auto& theirs = static_cast<const DiscMaterial*>(other)->look;
    return look == theirs ? 0 : (this < other ? -1 : 1);
}

} // namespace ambrel
