#include "RingItem.hpp"

#include "DiscMaterial.hpp"
#include "RingKit/RingMorph.hpp"
#include "RingKit/RingTessellator.hpp"
#include "RingKit/RingViewport.hpp"
#include "RingKit/Theme.hpp"

#include "ListRow.hpp"
#include "RingAccessible.hpp"
#include "ThemePalette.hpp"

#include <QAccessible>
#include <QQuickWindow>
#include <QSGFlatColorMaterial>
#include <QSGGeometryNode>
#include <QSGVertexColorMaterial>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

namespace ambrel {

namespace {

constexpr float centerRadius = 0.3f;

const QSGGeometry::AttributeSet& discAttributes() {
    static const QSGGeometry::Attribute attributes[] = {
        QSGGeometry::Attribute::createWithAttributeType(0, 2, QSGGeometry::FloatType,
                                                        QSGGeometry::PositionAttribute),
        QSGGeometry::Attribute::createWithAttributeType(1, 2, QSGGeometry::FloatType,
                                                        QSGGeometry::TexCoordAttribute)};
    static const QSGGeometry::AttributeSet set = {2, sizeof(ringkit::DiscVertex), attributes};
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
    auto* geometry = new QSGGeometry(discAttributes(), 0);
    geometry->setDrawingMode(QSGGeometry::DrawTriangles);
    node->setGeometry(geometry);
    node->setFlag(QSGNode::OwnsGeometry);
    node->setMaterial(new DiscMaterial);
    node->setFlag(QSGNode::OwnsMaterial);
    return node;
}

template <typename Vertex> void upload(QSGGeometryNode* node, const std::vector<Vertex>& vertices) {
    QSGGeometry* geometry = node->geometry();
    Q_ASSERT(geometry->sizeOfVertex() == static_cast<int>(sizeof(Vertex)));
    geometry->allocate(static_cast<int>(vertices.size()));
    if (!vertices.empty())
        std::memcpy(geometry->vertexData(), vertices.data(), vertices.size() * sizeof(Vertex));
    node->markDirty(QSGNode::DirtyGeometry);
}

QColor qColor(const ringkit::Rgba& rgba) {
    return QColor::fromRgbF(rgba.r, rgba.g, rgba.b, rgba.a);
}

// Inside its band the disc is one flat colour, drawn with the slices; only the rim is left to
// the shader, which would otherwise work on every pixel of the disc's square.
void buildDisc(ringkit::DiscMesh& mesh, const DiscMaterial::Look& look, bool dark,
               const ringkit::VertexPlacement& placement) {
    const auto& c = ringkit::Theme::palette(dark).disc;
    mesh.build(DiscMaterial::plainRadius(look), DiscMaterial::edgeRadius(look),
               ringkit::RingTessellator::premultiplied({c.r, c.g, c.b, 1}, 1), placement);
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
    disconnect(listConnection_);
    disconnect(growthConnection_);
    disconnect(comparedConnection_);
    model_ = model;
    if (model) {
        layoutConnection_ =
            connect(model_, &AppModel::layoutIDChanged, this, &RingItem::showLayout);
        listConnection_ = connect(model_, &AppModel::lowTideChanged, this, &RingItem::refreshMarks);
        const ScanComparison* comparison = model->comparison();
        growthConnection_ =
            connect(comparison, &ScanComparison::byGrowthChanged, this, [this] { update(); });
        comparedConnection_ =
            connect(comparison, &ScanComparison::changed, this, [this] { update(); });
    }
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
    refreshMarks();
    emit slicesChanged();
}

void RingItem::refreshMarks() {
    const auto& segments = animation_.segments();
    listed_.assign(segments.size(), false);
    const AppModel* model = model_.data();
    if (model != nullptr && !model->cleanupList().items().empty())
        for (std::size_t i = 0; i < segments.size(); ++i)
            listed_[i] = segments[i].kind.isNode() &&
                         model->stageState(static_cast<int>(segments[i].kind.id)) != 0;
    marks_ = (marks_ + 1) % 1'000'000; // only its change counts
    emit marksChanged();
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
    const auto items = [](std::size_t count) {
        return count == 1 ? QStringLiteral("\n1 item") : QStringLiteral("\n%1 items").arg(count);
    };
    const auto flags = segment.kind.isNode() ? tree->flags(segment.kind.id) : brantle::NodeFlags{};
    // What an unreadable folder holds is unknown, so it has no count.
    if (flags.contains(brantle::NodeFlags::unreadable))
        text += QStringLiteral("\nCould not be read");
    else if (segment.kind.type == AppModel::Kind::Type::smaller)
        text += items(static_cast<std::size_t>(segment.kind.count));
    else if (flags.contains(brantle::NodeFlags::directory))
        text += items(tree->children(segment.kind.id).size());
    if (static_cast<std::size_t>(index) < listed_.size() &&
        listed_[static_cast<std::size_t>(index)])
        text += model->stageState(static_cast<int>(segment.kind.id)) == 1
                    ? QStringLiteral("\nIn the Cleanup List")
                    : QStringLiteral("\nInside a folder in the Cleanup List");
    // The growth colours said in words: "+2 MB since the previous scan", "New".
    const QString change = segment.kind.isNode()
                               ? model->comparison()->changeText(static_cast<int>(segment.kind.id))
                               : QString();
    if (change == QStringLiteral("new"))
        text += QStringLiteral("\nNew since the previous scan");
    else if (!change.isEmpty())
        text += QStringLiteral("\n%1 since the previous scan").arg(change);
    return text;
}

int RingItem::sliceNode(int index) const {
    const auto& segments = animation_.segments();
    if (index < 0 || static_cast<std::size_t>(index) >= segments.size()) return -1;
    const auto& kind = segments[static_cast<std::size_t>(index)].kind;
    return kind.isNode() ? static_cast<int>(kind.id) : -1;
}

bool RingItem::sliceIsFolder(int index) const {
    const AppModel* model = model_.data();
    const int node = sliceNode(index);
    const brantle::FileTree* tree = model ? model->tree().get() : nullptr;
    return tree != nullptr && node >= 0 &&
           tree->flags(static_cast<brantle::NodeId>(node)).contains(brantle::NodeFlags::directory);
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

QRectF RingItem::sliceRect(int index) const {
    const auto& segments = animation_.segments();
    if (index < 0 || static_cast<std::size_t>(index) >= segments.size()) return {};
    const auto& segment = segments[static_cast<std::size_t>(index)];
    const ringkit::RingGeometry geometry;
    const auto placement = ringkit::RingViewport{width(), height()}.placement();
    constexpr double far = std::numeric_limits<double>::infinity();
    double left = far, right = -far, top = far, bottom = -far;
    const auto take = [&](double angle, double radius) {
        const double x = placement.centerX + std::cos(angle) * radius * placement.unitX;
        const double y = placement.centerY + std::sin(angle) * radius * placement.unitY;
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    };
    const double inner = geometry.inner(segment.depth);
    const double outer = geometry.outer(segment.depth);
    for (const double angle : {segment.start, segment.end}) {
        take(angle, inner);
        take(angle, outer);
    }
    // The arc bulges furthest where it crosses an axis.
    const double quarter = std::numbers::pi / 2;
    double axis = std::ceil(segment.start / quarter) * quarter;
    for (int k = 0; k < 5 && axis <= segment.end; ++k, axis += quarter)
        take(axis, outer);
    return QRectF(QPointF(left, top), QPointF(right, bottom));
}

QRect RingItem::sliceScreenRect(int index) const {
    const QRectF box = sliceRect(index);
    if (box.isNull() || window() == nullptr) return {};
    const QRectF scene = mapRectToScene(box);
    return QRect(window()->mapToGlobal(scene.topLeft().toPoint()), scene.size().toSize());
}

void RingItem::openSlice(int index) {
    const AppModel* model = model_.data();
    const auto& segments = animation_.segments();
    if (model == nullptr || index < 0 || static_cast<std::size_t>(index) >= segments.size()) return;
    const int folder = model->folderOf(segments[static_cast<std::size_t>(index)].kind);
    if (folder >= 0) emit folderClicked(folder);
}

void RingItem::requestMenu(int index, std::optional<QPointF> at) {
    const auto& segments = animation_.segments();
    if (index < 0 || static_cast<std::size_t>(index) >= segments.size()) return;
    setHovered(index);
    if (!at) {
        // The middle of the slice, where the keyboard's eye is.
        const auto& segment = segments[static_cast<std::size_t>(index)];
        const ringkit::RingGeometry geometry;
        const auto placement = ringkit::RingViewport{width(), height()}.placement();
        const double angle = (segment.start + segment.end) / 2;
        const double radius = (geometry.inner(segment.depth) + geometry.outer(segment.depth)) / 2;
        at = QPointF(placement.centerX + std::cos(angle) * radius * placement.unitX,
                     placement.centerY + std::sin(angle) * radius * placement.unitY);
    }
    emit menuRequested(index, at->x(), at->y());
}

void RingItem::toggleSlice(int index) {
    const int node = sliceNode(index);
    if (node >= 0 && model_) model_->toggleStaged(node);
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
    case Qt::Key_Space:
        toggleSlice(hovered_);
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
        if (hit.type == ringkit::Hit::Type::segment)
            requestMenu(static_cast<int>(hit.index), event->position());
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

void RingItem::appendGrowth(double pxPerUnit) {
    const AppModel* model = model_.data();
    if (model == nullptr) return;
    const ScanComparison* comparison = model->comparison();
    if (!comparison->byGrowth() || !comparison->available()) return;
    const auto placement = ringkit::RingViewport{width(), height()}.placement();
    for (const auto& segment : animation_.segments()) {
        const auto type = segment.kind.type;
        if (type == ringkit::RingSegment::Kind::Type::hidden ||
            type == ringkit::RingSegment::Kind::Type::purgeable)
            continue;
        // Merged slices stand for many small items; they stay unchanged in colour.
        const auto change =
            segment.kind.isNode() ? comparison->state(segment.kind.id) : brantle::NodeChange{};
        const ringkit::RingSlice slice{segment.start, segment.end,
                                       static_cast<double>(segment.depth),
                                       ThemePalette::growthColor(change, dark_), 1.0};
        ringkit::RingTessellator::appendSlice(slice, pxPerUnit, frameVertices_, placement);
    }
}

// Listed slices are striped across, 3 pixels of ink every 9, in either look; a slice too
// narrow for a stripe is shaded whole.
void RingItem::appendListedMarks(double pxPerUnit) {
    const auto& segments = animation_.segments();
    if (listed_.size() != segments.size()) return;
    const ringkit::RingGeometry geometry;
    const auto placement = ringkit::RingViewport{width(), height()}.placement();
    const ringkit::Rgba ink = dark_ ? ringkit::Rgba{1, 1, 1, 1} : ringkit::Rgba{0, 0, 0, 1};
    const double alpha = dark_ ? 0.35 : 0.3;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        if (!listed_[i]) continue;
        const auto& segment = segments[i];
        const auto depth = static_cast<double>(segment.depth);
        const double pxPerRadian = (geometry.inner(depth) + geometry.outer(depth)) / 2 * pxPerUnit;
        if (!(pxPerRadian > 0)) continue;
        const double stripe = 3 / pxPerRadian;
        const double period = 9 / pxPerRadian;
        if (segment.span() < period) {
            ringkit::RingTessellator::appendSlice({segment.start, segment.end, depth, ink, alpha},
                                                  pxPerUnit, frameVertices_, placement);
            continue;
        }
        const double first = segment.start + (period - stripe) / 2;
        const auto count = static_cast<int>((segment.end - first - stripe) / period) + 1;
        for (int k = 0; k < count; ++k) {
            const double a = first + k * period;
            ringkit::RingTessellator::appendSlice({a, a + stripe, depth, ink, alpha}, pxPerUnit,
                                                  frameVertices_, placement);
        }
    }
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
    if (!moving) {
        appendGrowth(pxPerUnit);
        appendListedMarks(pxPerUnit);
        appendHighlight(pxPerUnit);
    }
    const DiscMaterial::Look look = discLook(dark_, animation_.level(), pxPerUnit);
    buildDisc(discMesh_, look, dark_, viewport.placement());
    frameVertices_.insert(frameVertices_.end(), discMesh_.plain.begin(), discMesh_.plain.end());
    upload(slices, frameVertices_);
    upload(disc, discMesh_.rim);
    static_cast<DiscMaterial*>(disc->material())->look = look;
    disc->markDirty(QSGNode::DirtyMaterial);

    if (moving) update();
    return root;
}

} // namespace ambrel
