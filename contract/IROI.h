// The ROI interfaces: how a host drives every region of interest. The order of operations is frozen;
// slots are counted with the three of IUnknown.
//
// Coordinates are doubles in image pixels, x to the right and y downward. Angles are radians. A roll r
// maps the point (u, v) of a figure's own frame to (cx + u cos r - v sin r, cy + u sin r + v cos r)
// about the centre (cx, cy). Setters store what they are given: nothing is clamped or normalised
// unless an operation says so, and NaN is computed with like any other value. Output pointers must not
// be null unless an operation says that they may be.
#pragma once

#include "contract/Capabilities.h"
#include "contract/Framework.h"

/// What every figure answers.
struct IROI : IUnknown {
    /// Slot 3. Writes the size of the axis-aligned box around the figure, in pixels. The ellipse
    /// writes its half-axes. The shape without a geometry writes 0 and returns E_FAIL.
    virtual Result GetBoundingSize(double* width, double* height) noexcept = 0;
    /// Slot 4. Writes the centre. E_FAIL when there is none: an empty profile (outputs untouched), a
    /// shape without a geometry (outputs 0).
    virtual Result GetCenter(double* x, double* y) noexcept = 0;
    /// Slot 5. Moves the figure without changing its shape. E_FAIL for an empty profile; the shape
    /// ignores it.
    virtual Result SetCenter(double x, double y) noexcept = 0;
    /// Slot 6. Maps the figure through `transform`, which is borrowed. E_INVALIDARG when it is null; the
    /// shape ignores the call and returns S_OK. What the transform itself returns is ignored.
    virtual Result Transform(ITransform* transform) noexcept = 0;
    /// Slot 7. Hands out an independent copy with one reference. The ellipse always refuses
    /// (E_NOINTERFACE). The shape returns S_OK and writes nothing: preset `*copy` to null.
    virtual Result Replicate(IUnknown** copy) noexcept = 0;
    /// Slot 8. Hands out an 8-bit mask with one reference: 255 inside, 0 outside, pixel (0, 0) at the
    /// left and top of GetBoundingRect. S_OK with a null image means that the whole box belongs to the
    /// figure (a rectangle without roll). E_NOTIMPL for ellipse and profile; parallelogram and shape
    /// return S_OK and write nothing: preset `*image` to null. E_FAIL when no mask can be made.
    ///
    /// S_OK may also come with an image of no pixels, or with one in which nothing is drawn: what the image and the
    /// drawing component answer is not examined, and an image refuses a size that it cannot hold. Look at its size
    /// before its pixels. The rings keep the image and hand it out again until a node or a radius is set or the figure
    /// is mapped.
    virtual Result GetMask(ICIF** image) noexcept = 0;
    /// Slot 9. S_OK and `*hit` 1 when the point is inside, E_FAIL and `*hit` 0 when it is not. `hit`
    /// may be null. A profile may take memory for an index when it is first asked after a change.
    virtual Result HitTest(double x, double y, int* hit) noexcept = 0;
    /// Slot 10. Writes the box in whole pixels. The rules of rounding are the classes' own.
    virtual Result GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept = 0;

  protected:
    ~IROI() = default;
};

/// The nodes of rectangle and parallelogram, in the figure's own frame of width w and height h.
enum ROICorner : std::int32_t {
    kNodeCenter = 1,
    kNodeCorner2 = 2,    ///< (-w/2, -h/2)
    kNodeCorner3 = 3,    ///< (+w/2, -h/2)
    kNodeCorner4 = 4,    ///< (+w/2, +h/2)
    kNodeCorner5 = 5,    ///< (-w/2, +h/2)
    kNodeEdge6 = 6,      ///< middle of the edge at -h/2
    kNodeEdge7 = 7,      ///< middle of the edge at +w/2
    kNodeEdge8 = 8,      ///< middle of the edge at +h/2
    kNodeEdge9 = 9,      ///< middle of the edge at -w/2
    kNodeRollGrip = 10,  ///< the roll grip's length along the roll
    kNodeShearGrip = 11  ///< parallelogram only: the same length across the roll, leaning with the shear
};

/// Modifiers in the node argument of SetCornerPoint and SetNode; the node is in the low byte.
enum NodeFlag : int {
    kNodeMask = 0xFF,
    kKeepCenter = 0x100,  ///< the centre stays and the size grows symmetrically
    kBothAxes = 0x200     ///< width and height (or both radii) become equal
};

/// A rectangle rolled about its centre.
struct IROIRectangle : IROI {
    /// Slots 11, 12. Width and height as stored, in pixels; they may be negative or zero. Setting
    /// ignores the fixed aspect ratio. S_OK.
    virtual Result GetSize(double* width, double* height) noexcept = 0;
    virtual Result SetSize(double width, double height) noexcept = 0;
    /// Slots 13, 14. The roll in radians. S_OK.
    virtual Result get_Roll(double* radians) noexcept = 0;
    virtual Result put_Roll(double radians) noexcept = 0;
    /// Slots 15, 16. The image position of a node, exact or rounded half away from zero. E_INVALIDARG,
    /// with nothing written, for anything but 1 to 10. Asking for the roll grip raises its stored
    /// length to a quarter of the width.
    virtual Result GetCornerPoint(ROICorner corner, double* x, double* y) noexcept = 0;
    virtual Result GetCornerPointI(ROICorner corner, int* x, int* y) noexcept = 0;
    /// Slot 17. Drags a node to (x, y), with NodeFlag modifiers: the centre moves the figure, a corner
    /// or an edge resizes it (across the opposite side too, which makes sizes negative), the roll grip
    /// turns it. E_INVALIDARG, with nothing changed, for an unknown node.
    virtual Result SetCornerPoint(int corner, double x, double y) noexcept = 0;
    /// Slots 18, 19. Width divided by height, held while dragging; 0 or less is free. Setting a ratio
    /// above 0 changes the height and keeps the width. S_OK.
    virtual Result GetAspectRatio(double* ratio) noexcept = 0;
    virtual Result SetAspectRatio(double ratio) noexcept = 0;

  protected:
    ~IROIRectangle() = default;
};

/// A bitmap placed in a rectangle.
struct IROIMask : IROIRectangle {
    /// Slot 20. Keeps a reference to the image as the mask; null removes it. `flags` is ignored. S_OK.
    virtual Result SetMask(ICIF* mask, int flags) noexcept = 0;

  protected:
    ~IROIMask() = default;
};

/// A rolled rectangle whose slanted sides lean by the shear. It has no integer corner getter and no
/// aspect ratio, unlike IROIRectangle.
struct IROIParallelogram : IROI {
    /// Slots 11, 12. Width and height between corners 2 and 4, in the figure's own frame. S_OK.
    virtual Result GetSize(double* width, double* height) noexcept = 0;
    virtual Result SetSize(double width, double height) noexcept = 0;
    /// Slots 13, 14. The length of the top and bottom sides: width - height tan(shear). Setting it
    /// changes the width. S_OK.
    virtual Result get_A(double* a) noexcept = 0;
    virtual Result put_A(double a) noexcept = 0;
    /// Slots 15, 16. The length of the slanted sides: sqrt((height tan(shear))^2 + height^2). Setting
    /// it changes the height, and thereby A, but not the width. S_OK.
    virtual Result get_B(double* b) noexcept = 0;
    virtual Result put_B(double b) noexcept = 0;
    /// Slots 17, 18. The roll in radians. S_OK.
    virtual Result get_Roll(double* radians) noexcept = 0;
    virtual Result put_Roll(double radians) noexcept = 0;
    /// Slots 19, 20. The lean of the slanted sides in radians. Setting clamps it to [-1.5, 1.5] (NaN
    /// passes); a non-zero `keepA` keeps A and changes the width instead. S_OK.
    virtual Result get_Shear(double* radians) noexcept = 0;
    virtual Result put_Shear(double radians, short keepA) noexcept = 0;
    /// Slot 21. The image position of a node. E_INVALIDARG, with nothing written, for anything but 1
    /// to 11. Asking for a grip raises the stored grip length to a quarter of the width.
    virtual Result GetCornerPoint(ROICorner corner, double* x, double* y) noexcept = 0;
    /// Slot 22. Drags a node, as for the rectangle; node 11 sets the shear. E_INVALIDARG, with nothing
    /// changed, for an unknown node, and for node 11 with kKeepCenter.
    virtual Result SetCornerPoint(int corner, double x, double y) noexcept = 0;

  protected:
    ~IROIParallelogram() = default;
};

/// An ellipse with axes along the image's.
struct IROIEllipse : IROI {
    /// Slot 11. Node 2 is the right end of the x axis, node 3 the upper end of the y axis; 5 and 6
    /// write nothing; every other value, flags included, gives the centre. S_OK.
    virtual Result GetNode(int node, double* x, double* y) noexcept = 0;
    /// Slot 12. Drags a node; the kind is the low byte. Nodes 2 and 3 set one radius from the point's
    /// own axis, both with kBothAxes; 5 and 6 change nothing; any other moves the centre. S_OK.
    virtual Result SetNode(int node, double x, double y) noexcept = 0;
    /// Slots 13, 14. The half-axes in pixels, as stored. S_OK.
    virtual Result GetRadius(double* radiusX, double* radiusY) noexcept = 0;
    virtual Result SetRadius(double radiusX, double radiusY) noexcept = 0;

  protected:
    ~IROIEllipse() = default;
};

/// A ring between two concentric ellipses.
struct IROIDonut : IROI {
    /// Slots 11, 12. Reads and drags nodes; the numbers are the classes' own. S_OK.
    virtual Result GetNode(int node, double* x, double* y) noexcept = 0;
    virtual Result SetNode(int node, double x, double y) noexcept = 0;
    /// Slots 13, 14. The radii of ring 0 or, for any other index, of ring 1, in pixels. Either ring may
    /// be the inner one. S_OK.
    virtual Result GetRadius(int ring, double* radiusX, double* radiusY) noexcept = 0;
    virtual Result SetRadius(int ring, double radiusX, double radiusY) noexcept = 0;

  protected:
    ~IROIDonut() = default;
};

/// A ring with a start angle and an angular extent.
struct IROIArcDonut : IROIDonut {
    /// Slots 15, 16: the setter comes first, against the order of every other pair. Radians; angles
    /// run from the +x axis toward +y. An output may be null. S_OK.
    virtual Result SetLimits(double start, double delta) noexcept = 0;
    virtual Result GetLimits(double* start, double* delta) noexcept = 0;

  protected:
    ~IROIArcDonut() = default;
};

/// The nodes of a profile's point i. Segment i runs from point i to point i + 1; every value not
/// listed is the point itself.
enum ROIPROFILENode : std::int32_t {
    kProfilePoint = 1,
    kProfileCorner1 = 2,  ///< corner of the thickness-1 outline; cannot be dragged
    kProfileCorner2 = 3,  ///< corner of the thickness-2 outline; cannot be dragged
    kProfileMiddle1 = 4,  ///< middle of segment i's thickness-1 outline; dragging sets thickness 1
    kProfileMiddle2 = 5,  ///< middle of segment i's thickness-2 outline; dragging sets thickness 2
    kProfileSegment = 6   ///< middle of segment i; dragging moves both its points
};

/// A polyline with a thickness to either side at every point.
struct IROIProfile : IROI {
    /// Slots 11, 12. The two thicknesses of a point in pixels. E_INVALIDARG outside 0 to count - 1.
    virtual Result GetThickness(int index, double* thickness1, double* thickness2) noexcept = 0;
    virtual Result SetThickness(int index, double thickness1, double thickness2) noexcept = 0;
    /// Slot 13. Gives every point the same thicknesses. S_OK.
    virtual Result SetUniformThickness(double thickness1, double thickness2) noexcept = 0;
    /// Slot 14. S_OK.
    virtual Result GetNumberPoints(int* count) noexcept = 0;
    /// Slot 15. Removes a point; an index equal to the count drops the last one. E_INVALIDARG outside 0
    /// to count. An empty profile counts -1 points after it.
    virtual Result RemovePoint(int index) noexcept = 0;
    /// Slot 16. Reads a point; every output may be null. `normalAngle` is the direction, in radians, of
    /// the chord from the previous to the next point turned toward the thickness-1 side, or -1000 where
    /// there are fewer than two points or the index equals the count. E_INVALIDARG outside 0 to count. An angle
    /// that is asked for is kept in the point's record, which Save writes.
    virtual Result GetPoint(int index, double* x, double* y, double* normalAngle, double* thickness1,
                            double* thickness2) noexcept = 0;
    /// Slot 17. Moves a point and keeps its thicknesses. An index equal to the count is accepted and
    /// changes no visible point. E_INVALIDARG outside 0 to count.
    virtual Result SetPoint(int index, double x, double y) noexcept = 0;
    /// Slot 18. Inserts a point before `index`; a negative index or one above the count appends. E_FAIL,
    /// with nothing changed, when there is no memory.
    virtual Result InsertPoint(int index, double x, double y) noexcept = 0;
    /// Slot 19. Appends a point with the thicknesses of the last one (20 and 20 for the first). E_FAIL,
    /// with nothing changed, when there is no memory.
    virtual Result AddPoint(double x, double y) noexcept = 0;
    /// Slot 20. Does nothing. S_OK.
    virtual Result Fit(double tolerance, int mode) noexcept = 0;
    /// Slot 21. The position of a node. E_INVALIDARG outside 0 to count - 1, and for the middles of the
    /// last point, which starts no segment. The outline's corners may have angles of points computed, which are
    /// kept as by GetPoint; so may centre and boxes, which lie around them.
    virtual Result GetNodePoint(ROIPROFILENode node, int index, double* x, double* y) noexcept = 0;
    /// Slot 22. Drags a node. E_NOTIMPL for the outline's corners; E_INVALIDARG as for GetNodePoint,
    /// except that the point itself may have an index equal to the count.
    virtual Result SetNodePoint(ROIPROFILENode node, int index, double x, double y) noexcept = 0;
    /// Slot 23. The node in whole pixels: x half away from zero, y as trunc(y + 0.5). Always S_OK;
    /// (0, 0) for an index that GetNodePoint refuses.
    virtual Result GetNodePointI(ROIPROFILENode node, int index, int* x, int* y) noexcept = 0;

  protected:
    ~IROIProfile() = default;
};

/// A figure whose extent comes from a geometry object.
struct IROIShape : IROI {
    /// Slot 11. Keeps the geometry's IGeometricAssembly; null, or a geometry without one, empties the
    /// shape. S_OK.
    virtual Result SetGeometry(IGeometry* geometry) noexcept = 0;

  protected:
    ~IROIShape() = default;
};
