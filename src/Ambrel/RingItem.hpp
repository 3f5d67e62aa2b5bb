#pragma once

#include "AmbrelModel/AppModel.hpp"
#include "RingKit/DiscMesh.hpp"
#include "RingKit/RingAnimation.hpp"
#include "RingKit/RingSegment.hpp"

#include <QColor>
#include <QElapsedTimer>
#include <QPointer>
#include <QQuickItem>

#include <optional>
#include <vector>

namespace ambrel {

/// The ring as one scene-graph item: all slices in one geometry node with per-vertex colour,
/// the centre disc as one quad with its own shader. It shows the model's layouts, morphing
/// from one to the next, draws frames only while a morph or the fullness easing runs, and
/// maps the pointer to slices in C++.
class RingItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(ambrel::AppModel* model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(double level READ level WRITE setLevel NOTIFY levelChanged)
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY darkChanged)
    Q_PROPERTY(bool reduceMotion READ reduceMotion WRITE setReduceMotion NOTIFY reduceMotionChanged)
    Q_PROPERTY(int hoveredIndex READ hoveredIndex NOTIFY hoveredIndexChanged)
    Q_PROPERTY(QString hoveredText READ hoveredText NOTIFY hoveredIndexChanged)
    Q_PROPERTY(int hoveredNode READ hoveredNode NOTIFY hoveredIndexChanged)
    /// Bumped whenever slices enter or leave the Cleanup List, for bindings on their details.
    Q_PROPERTY(int marks READ marks NOTIFY marksChanged)

public:
    explicit RingItem(QQuickItem* parent = nullptr);

    /// The model whose layouts the ring shows.
    AppModel* model() const { return model_; }
    void setModel(AppModel* model);
    const std::vector<ringkit::RingSegment>& segments() const { return animation_.segments(); }

    double level() const { return animation_.levelTarget(); }
    void setLevel(double level);
    bool dark() const { return dark_; }
    void setDark(bool dark);
    bool reduceMotion() const { return reduceMotion_; }
    void setReduceMotion(bool reduceMotion);
    /// Index of the slice under the pointer in `segments()`, or −1.
    int hoveredIndex() const { return hovered_; }
    /// "Name — size" of the slice under the pointer, or empty.
    QString hoveredText() const;

    /// The node of the slice under the pointer, or −1.
    int hoveredNode() const;
    int marks() const { return marks_; }
    /// Highlights the slice of `node` (−1: none), as when the pointer is on a row.
    Q_INVOKABLE void showNode(int node);
    /// "Name — size" of slice `index`, with its share of the focus, its item count and its
    /// marks, one per line.
    Q_INVOKABLE QString sliceDetails(int index) const;
    /// The node slice `index` stands for, or −1 for merged and volume-level slices.
    Q_INVOKABLE int sliceNode(int index) const;
    Q_INVOKABLE bool sliceIsFolder(int index) const;

    /// What lies under an item point.
    ringkit::Hit hitAt(QPointF point) const;

    /// The name of slice `index`, as the caption and the list show it.
    QString sliceName(int index) const;
    /// "Name — size" of slice `index`.
    QString sliceCaption(int index) const;
    /// The path slice `index` stands for; empty for merged and volume-level slices.
    Q_INVOKABLE QString slicePath(int index) const;
    /// The box around slice `index`, in item coordinates and on the screen.
    QRectF sliceRect(int index) const;
    QRect sliceScreenRect(int index) const;
    /// Focuses the folder of slice `index`, as a click does.
    void openSlice(int index);
    /// Asks for the context menu of slice `index`, at item point `at` (the slice's middle when
    /// not given).
    void requestMenu(int index, std::optional<QPointF> at = std::nullopt);
    /// Adds slice `index` to the Cleanup List or takes it out.
    void toggleSlice(int index);

signals:
    void modelChanged();
    void levelChanged();
    void darkChanged();
    void reduceMotionChanged();
    void hoveredIndexChanged();
    void marksChanged();
    /// A click on the slice of folder `node`.
    void folderClicked(int node);
    /// A click on the centre disc.
    void centerClicked();
    /// The slices were replaced by another layout.
    void slicesChanged();
    /// The context menu of slice `index` is wanted at item point (x, y).
    void menuRequested(int index, double x, double y);

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
    void hoverMoveEvent(QHoverEvent* event) override;
    void hoverLeaveEvent(QHoverEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    double now() const { return static_cast<double>(clock_.nsecsElapsed()) * 1e-9; }
    /// Morphs to the model's current layout.
    void showLayout();
    void setHovered(int index);
    /// Moves the keyboard's slice by `step`, wrapping around.
    void stepSlice(int step);
    void appendHighlight(double pxPerUnit);
    /// Each slice over again in the colour of its change since the previous scan, when the
    /// ring shows growth.
    void appendGrowth(double pxPerUnit);
    /// Stripes across every slice in the Cleanup List or inside a listed folder.
    void appendListedMarks(double pxPerUnit);
    /// Notes which slices are in the Cleanup List, so painting needs no look-ups.
    void refreshMarks();

    QPointer<AppModel> model_;
    QMetaObject::Connection layoutConnection_;
    QMetaObject::Connection listConnection_;
    QMetaObject::Connection growthConnection_;
    QMetaObject::Connection comparedConnection_;
    QElapsedTimer clock_;
    ringkit::RingAnimation animation_;
    std::vector<ringkit::RingVertex> frameVertices_;
    ringkit::DiscMesh discMesh_;
    int marks_ = 0;
    std::vector<bool> listed_; ///< per slice: in the Cleanup List or inside a listed folder
    bool dark_ = false;
    bool reduceMotion_ = false;
    int hovered_ = -1;
    std::optional<QPointF> pressedAt_;
    std::optional<QPointF> lastHover_;
};

} // namespace ambrel
