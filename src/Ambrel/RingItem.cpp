#include "RingItem.hpp"

#include "DiscMaterial.hpp"
#include "RingKit/RingMorph.hpp"
#include "RingKit/RingTessellator.hpp"
#include "RingKit/RingViewport.hpp"
#include "RingKit/Theme.hpp"

#include <QQuickWindow>
#include <QSGFlatColorMaterial>
#include <QSGGeometryNode>
#include <QSGVertexColorMaterial>

#include <algorithm>
#include <cstring>

namespace ambrel {

namespace {

constexpr float centerRadius = 0.3f;

// The disc quad carries both its place in the item and its place in ring units.
struct DiscVertex {
    float x, y;
    float ringX, ringY;
};

const QSGGeometry::AttributeSet& discAttributes() {
    static const QSGGeometry::Attribute attributes[] = {
        QSGGeometry::Attribute::createWithAttributeType(0, 2, QSGGeometry::FloatType,
                                                        QSGGeometry::PositionAttribute),
        QSGGeometry::Attribute::createWithAttributeType(1, 2, QSGGeometry::FloatType,
                                                        QSGGeometry::TexCoordAttribute)};
    static const QSGGeometry::AttributeSet set = {2, sizeof(DiscVertex), attributes};
    return set;
}

QSGGeometryNode* makeSliceNode() {
    auto* node = new QSGGeometryNode;
    auto* geometry = new QSGGeometry(QSGGeometry::defaultAttributes_ColoredPoint2D(), 0);
    geometry->setDrawingMode(QSGGeometry::DrawTriangles);
    node->setGeometry(geometry);
    node->setFlag(QSGNode::OwnsGeometry);
    node->setMaterial(new QSGVertexColorMaterial);
    node->setFlag(QSGNode::OwnsMaterial);
    return node;
}

QSGGeometryNode* makeDiscNode() {
    auto* node = new QSGGeometryNode;
    auto* geometry = new QSGGeometry(discAttributes(), 4);
    geometry->setDrawingMode(QSGGeometry::DrawTriangleStrip);
    node->setGeometry(geometry);
    node->setFlag(QSGNode::OwnsGeometry);
    node->setMaterial(new DiscMaterial);
    node->setFlag(QSGNode::OwnsMaterial);
    return node;
}

void placeDisc(QSGGeometryNode* node, const ringkit::RingViewport& viewport) {
    const auto placement = viewport.placement();
    auto* v = static_cast<DiscVertex*>(node->geometry()->vertexData());
    const float corners[4][2] = {{-1, -1}, {1, -1}, {-1, 1}, {1, 1}};
    for (int i = 0; i < 4; ++i) {
        const float rx = corners[i][0] * centerRadius;
        const float ry = corners[i][1] * centerRadius;
        v[i] = {static_cast<float>(placement.centerX + rx * placement.unitX),
                static_cast<float>(placement.centerY + ry * placement.unitY), rx, ry};
    }
    node->markDirty(QSGNode::DirtyGeometry);
}

QColor qColor(const ringkit::Rgba& rgba) {
    return QColor::fromRgbF(rgba.r, rgba.g, rgba.b, rgba.a);
}

DiscMaterial::Look discLook(bool dark, double level, double pxPerUnit) {
    const auto& palette = ringkit::Theme::palette(dark);
    DiscMaterial::Look look;
    look.level = static_cast<float>(level);
    look.centerRadius = centerRadius;
    look.pxPerUnit = static_cast<float>(pxPerUnit);
    look.disc = qColor(palette.disc);
    look.track = qColor(palette.discTrack);
    look.arc = qColor(palette.discArc);
    return look;
}

} // namespace

RingItem::RingItem(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
    setAcceptHoverEvents(true);
    setAcceptedMouseButtons(Qt::LeftButton);
    clock_.start();
}

void RingItem::setModel(AppModel* model) {
    if (model == model_) return;
    disconnect(layoutConnection_);
    model_ = model;
    if (model_)
        layoutConnection_ =
            connect(model_, &AppModel::layoutIDChanged, this, &RingItem::showLayout);
    showLayout();
    emit modelChanged();
}

void RingItem::showLayout() {
    std::vector<ringkit::RingSegment> segments;
    ringkit::RingMorph::ParentLookup parents = [](brantle::NodeId) {
        return std::optional<brantle::NodeId>();
    };
    if (const AppModel* model = model_.data()) {
        segments = model->segments();
        // The look-up is used here and not kept, so it may hold the tree by reference.
        if (const auto* tree = model->tree().get()) parents = ringkit::RingMorph::parentsOf(*tree);
    }
    animation_.setSegments(std::move(segments), parents, now(), reduceMotion_);
    setHovered(-1);
    update();
}

QString RingItem::hoveredText() const {
    const auto& segments = animation_.segments();
    if (!model_ || hovered_ < 0 || static_cast<std::size_t>(hovered_) >= segments.size()) return {};
    return model_->sliceText(segments[static_cast<std::size_t>(hovered_)].kind);
}

void RingItem::setLevel(double level) {
    if (level == animation_.levelTarget()) return;
    animation_.setLevelTarget(level);
    emit levelChanged();
    update();
}

void RingItem::setDark(bool dark) {
    if (dark == dark_) return;
    dark_ = dark;
    emit darkChanged();
    update();
}

void RingItem::setReduceMotion(bool reduceMotion) {
    if (reduceMotion == reduceMotion_) return;
    reduceMotion_ = reduceMotion;
    emit reduceMotionChanged();
}

ringkit::Hit RingItem::hitAt(QPointF point) const {
    const ringkit::RingViewport viewport{width(), height()};
    return viewport.hitTest(animation_.segments(), point.x(), point.y());
}

void RingItem::setHovered(int index) {
    if (index == hovered_) return;
    hovered_ = index;
    emit hoveredIndexChanged();
    update();
}

void RingItem::hoverMoveEvent(QHoverEvent* event) {
    const auto hit = hitAt(event->position());
    setHovered(hit.type == ringkit::Hit::Type::segment ? static_cast<int>(hit.index) : -1);
}

void RingItem::hoverLeaveEvent(QHoverEvent*) {
    setHovered(-1);
}

void RingItem::mousePressEvent(QMouseEvent* event) {
    pressedAt_ = event->position();
    event->accept();
}

void RingItem::mouseReleaseEvent(QMouseEvent* event) {
    if (!pressedAt_) return;
    const QPointF travel = event->position() - *pressedAt_;
    pressedAt_.reset();
    if (travel.manhattanLength() > 6) return; // a drag, not a click
    const auto hit = hitAt(event->position());
    if (hit.type == ringkit::Hit::Type::segment && model_) {
        const int folder = model_->folderOf(animation_.segments()[hit.index].kind);
        if (folder >= 0) emit folderClicked(folder);
    }
    if (hit.type == ringkit::Hit::Type::center) emit centerClicked();
}

// The hovered slice is drawn once more on top, lightened, so it stands out in either look.
void RingItem::appendHighlight(double pxPerUnit) {
    const auto& segments = animation_.segments();
    if (hovered_ < 0 || static_cast<std::size_t>(hovered_) >= segments.size()) return;
    const auto& segment = segments[static_cast<std::size_t>(hovered_)];
    const ringkit::RingSlice slice{segment.start, segment.end, static_cast<double>(segment.depth),
                                   ringkit::Rgba{1, 1, 1, 1}, dark_ ? 0.22 : 0.35};
    const ringkit::RingViewport viewport{width(), height()};
    ringkit::RingTessellator::appendSlice(slice, pxPerUnit, frameVertices_, viewport.placement());
}

QSGNode* RingItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* root = old ? old : new QSGNode;
    if (!old) {
        root->appendChildNode(makeSliceNode());
        root->appendChildNode(makeDiscNode());
    }
    auto* slices = static_cast<QSGGeometryNode*>(root->firstChild());
    auto* disc = static_cast<QSGGeometryNode*>(slices->nextSibling());

    const ringkit::RingViewport viewport{width(), height()};
    const double dpr = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    const double pxPerUnit = viewport.unit() * dpr;
    const bool moving = animation_.frame(now(), pxPerUnit, dark_, viewport.placement());

    const auto vertices = animation_.vertices();
    frameVertices_.assign(vertices.begin(), vertices.end());
    if (!moving) appendHighlight(pxPerUnit);
    QSGGeometry* geometry = slices->geometry();
    geometry->allocate(static_cast<int>(frameVertices_.size()));
    static_assert(sizeof(ringkit::RingVertex) == sizeof(QSGGeometry::ColoredPoint2D));
    if (!frameVertices_.empty())
        std::memcpy(geometry->vertexData(), frameVertices_.data(),
                    frameVertices_.size() * sizeof(ringkit::RingVertex));
    slices->markDirty(QSGNode::DirtyGeometry);

    placeDisc(disc, viewport);
    static_cast<DiscMaterial*>(disc->material())->look =
        discLook(dark_, animation_.level(), pxPerUnit);
    disc->markDirty(QSGNode::DirtyMaterial);

    if (moving) update();
    return root;
}

} // namespace ambrel
