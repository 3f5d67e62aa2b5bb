#include "RingItem.hpp"

#include "DiscMaterial.hpp"
#include "RingKit/RingMorph.hpp"
#include "RingKit/RingTessellator.hpp"
#include "RingKit/RingViewport.hpp"
#include "RingKit/Theme.hpp"

#include "ListRow.hpp"
#include "RingAccessible.hpp"

#include <QAccessible>
#include <QQuickWindow>
#include <QSGFlatColorMaterial>
#include <QSGGeometryNode>
#include <QSGVertexColorMaterial>

#include <algorithm>
#include <cmath>
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
    setAcceptedMouseButtons(Qt::LeftButton | Qt::RightButton);
    setActiveFocusOnTab(true);
    installAccessibleFactory();
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
    emit slicesChanged();
    update();
}

QString RingItem::hoveredText() const {
    return sliceCaption(hovered_);
}

int RingItem::hoveredNode() const {
    const auto& segments = animation_.segments();
    if (hovered_ < 0 || static_cast<std::size_t>(hovered_) >= segments.size()) return -1;
    const auto& kind = segments[static_cast<std::size_t>(hovered_)].kind;
    return kind.isNode() ? static_cast<int>(kind.id) : -1;
}

void RingItem::showNode(int node) {
    const auto& segments = animation_.segments();
    const auto found = std::ranges::find_if(segments, [node](const ringkit::RingSegment& s) {
        return node >= 0 && s.kind.isNode() && static_cast<int>(s.kind.id) == node;
    });
    setHovered(found == segments.end() ? -1 : static_cast<int>(found - segments.begin()));
}

QString RingItem::sliceDetails(int index) const {
    const AppModel* model = model_.data();
    const auto& segments = animation_.segments();
    if (model == nullptr || index < 0 || static_cast<std::size_t>(index) >= segments.size())
        return {};
    const brantle::FileTree* tree = model->tree().get();
    if (tree == nullptr) return {};
    const auto& segment = segments[static_cast<std::size_t>(index)];
    const auto whole = static_cast<double>(tree->size(model->focus()));
    const long share =
        whole > 0 ? std::lround(100.0 * static_cast<double>(segment.bytes) / whole) : 0;
    QString text =
        sliceCaption(index) + QStringLiteral("\n%1 % of %2")
                                  .arg(share)
                                  .arg(model->label(AppModel::Kind::node(model->focus())));
    if (segment.kind.type == AppModel::Kind::Type::smaller)
        text += QStringLiteral("\n%1 items").arg(segment.kind.count);
    else if (segment.kind.isNode() &&
             tree->flags(segment.kind.id).contains(brantle::NodeFlags::directory))
        text += QStringLiteral("\n%1 items").arg(tree->children(segment.kind.id).size());
    return text;
}

QString RingItem::sliceName(int index) const {
    const AppModel* model = model_.data();
    const auto& segments = animation_.segments();
    if (model == nullptr || index < 0 || static_cast<std::size_t>(index) >= segments.size())
        return {};
    return model->label(segments[static_cast<std::size_t>(index)].kind);
}

QString RingItem::sliceCaption(int index) const {
    const AppModel* model = model_.data();
    const auto& segments = animation_.segments();
    if (model == nullptr || index < 0 || static_cast<std::size_t>(index) >= segments.size())
        return {};
    return model->sliceText(segments[static_cast<std::size_t>(index)].kind);
}

QString RingItem::slicePath(int index) const {
    const AppModel* model = model_.data();
    const auto& segments = animation_.segments();
    if (model == nullptr || index < 0 || static_cast<std::size_t>(index) >= segments.size())
        return {};
    const brantle::FileTree* tree = model->tree().get();
    const auto& kind = segments[static_cast<std::size_t>(index)].kind;
    return tree != nullptr && kind.isNode() ? QString::fromStdString(tree->path(kind.id))
                                            : QString();
}

// Slices are not boxes; the ring's square is the honest bound for every one.
QRect RingItem::sliceScreenRect(int) const {
    return screenRect(this);
}

void RingItem::openSlice(int index) {
    const AppModel* model = model_.data();
    const auto& segments = animation_.segments();
    if (model == nullptr || index < 0 || static_cast<std::size_t>(index) >= segments.size()) return;
    const int folder = model->folderOf(segments[static_cast<std::size_t>(index)].kind);
    if (folder >= 0) emit folderClicked(folder);
}

void RingItem::requestMenu(int index) {
    const auto count = static_cast<int>(animation_.segments().size());
    if (index < 0 || index >= count) return;
    setHovered(index);
    emit menuRequested(index);
}

void RingItem::stepSlice(int step) {
    const auto count = static_cast<int>(animation_.segments().size());
    if (count == 0) return;
    setHovered(hovered_ < 0 ? (step > 0 ? 0 : count - 1) : (hovered_ + step + count) % count);
    if (auto* ring = QAccessible::queryAccessibleInterface(this)) {
        if (auto* slice = ring->child(hovered_)) {
            QAccessibleEvent event(slice, QAccessible::Focus);
            QAccessible::updateAccessibility(&event);
        }
    }
}

void RingItem::focusInEvent(QFocusEvent* event) {
    QQuickItem::focusInEvent(event);
    if (hovered_ < 0) stepSlice(1);
}

void RingItem::keyPressEvent(QKeyEvent* event) {
    const bool menuKey = event->key() == Qt::Key_Menu ||
                         (event->key() == Qt::Key_F10 && event->modifiers() & Qt::ShiftModifier);
    switch (event->key()) {
    case Qt::Key_Right:
    case Qt::Key_Down:
        stepSlice(1);
        break;
    case Qt::Key_Left:
    case Qt::Key_Up:
        stepSlice(-1);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        openSlice(hovered_);
        break;
    default:
        if (!menuKey) {
            event->ignore();
            return;
        }
        requestMenu(hovered_);
    }
    event->accept();
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
    // Qt Quick repeats the last hover after every frame; only a pointer that moved may take
    // the highlight from the keyboard's slice.
    if (lastHover_ == event->position()) return;
    lastHover_ = event->position();
    const auto hit = hitAt(event->position());
    setHovered(hit.type == ringkit::Hit::Type::segment ? static_cast<int>(hit.index) : -1);
}

void RingItem::hoverLeaveEvent(QHoverEvent*) {
    lastHover_.reset();
    setHovered(-1);
}

void RingItem::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton) {
        const auto hit = hitAt(event->position());
        if (hit.type == ringkit::Hit::Type::segment) requestMenu(static_cast<int>(hit.index));
        event->accept();
        return;
    }
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
