# Prints the name and the area of every feature of a GeoJSON file, as GDAL reads it.
import sys
from osgeo import ogr

source = ogr.Open(sys.argv[1])
for feature in source.GetLayer(0):
    assert feature.geometry().IsValid()
    print(f"{feature['name']},{feature.geometry().GetArea()!r}")
