"""What the tests share: the images of figures whose numbers are known."""

import numpy as np
import pytest

import roi

# Values of every class that are no special case: x different from y, nothing symmetric, between pixels.
CLASSES = {
    "ROIEllipse": dict(CenterX=61.3, CenterY=40.7, RadiusX=33.2, RadiusY=17.9),
    "ROIDonut": dict(CenterX=61.3, CenterY=40.7, RadiusX1=12.5, RadiusY1=9.1, RadiusX2=38.4, RadiusY2=25.2),
    "ROIArcDonut": dict(
        CenterX=61.3, CenterY=40.7, Radius1X=14.5, Radius1Y=12.1, Radius2X=38.4, Radius2Y=30.2, StartAngle=-140,
        DeltaAngle=115,
    ),
    "ROIRectangle": dict(CenterX=61.3, CenterY=40.7, Width=52.6, Height=21.4, Angle=-17),
    "ROIParallelogram": dict(CenterX=61.3, CenterY=40.7, Width=62.6, Height=21.4, Roll=11, Shear=24),
    "ROIProfile": dict(points=[(12.2, 60.1), (50.3, 22.8), (98.6, 31.9)], Thickness1=4.5, Thickness2=7.25),
    "ROIShape": dict(points=[(22.5, 12.1), (97.2, 30.6), (55.5, 44.4), (71.9, 70.3)]),
    "ROIMask": dict(mask=np.tril(np.ones((23, 31))), CenterX=61, CenterY=40),
}
SHAPE = (90, 130)


@pytest.fixture(params=CLASSES)
def figure(request):
    return roi.Figure(request.param, **CLASSES[request.param])


@pytest.fixture
def every_class():
    figures = roi.Set()
    for name, values in CLASSES.items():
        figures.add(name, name[3:], **values)
    return figures


@pytest.fixture
def image():
    return np.random.default_rng(7).integers(0, 60000, SHAPE, dtype=np.uint16)
