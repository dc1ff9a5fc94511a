# Measures an image by a label image with scikit-image, which then writes the same labels: IMAGE LABELS WRITTEN.
import sys
import numpy
from skimage import io, measure

pixels, labels = io.imread(sys.argv[1]), io.imread(sys.argv[2])
for region in measure.regionprops(labels, intensity_image=pixels):
    values = pixels[labels == region.label]
    print(f"label {region.label},{int(region.area)},{values.mean()!r},{values.min()},{values.max()}")
io.imsave(sys.argv[3], labels.astype(numpy.uint16), check_contrast=False)
