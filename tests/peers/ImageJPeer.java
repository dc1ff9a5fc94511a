// ImageJ's own reading, writing and measuring of figures, without its windows.
import ij.IJ;
import ij.gui.*;
import ij.io.RoiDecoder;
import ij.io.RoiEncoder;
import ij.measure.Measurements;
import ij.process.ImageProcessor;
import ij.process.ImageStatistics;
import java.io.*;
import java.util.*;
import java.util.zip.*;

class ImageJPeer {
    /// measure ROISET.zip IMAGE...: a line of name, area, mean, minimum and maximum for each figure on each image.
    /// save ROISET.zip: one figure of each kind that ImageJ draws.
    public static void main(String[] arguments) throws Exception {
        PrintStream out = new PrintStream(System.out, true, "UTF-8");
        if (arguments[0].equals("measure")) {
            List<Roi> figures = read(arguments[1]);
            for (String image : Arrays.asList(arguments).subList(2, arguments.length)) {
                measure(figures, IJ.openImage(image).getProcessor(), out);
            }
        } else {
            save(arguments[1]);
        }
    }

    static List<Roi> read(String file) throws IOException {
        List<Roi> figures = new ArrayList<>();
        try (ZipInputStream zip = new ZipInputStream(new FileInputStream(file))) {
            for (ZipEntry entry = zip.getNextEntry(); entry != null; entry = zip.getNextEntry()) {
                figures.add(new RoiDecoder(zip.readAllBytes(), entry.getName()).getRoi());
            }
        }
        return figures;
    }

    static void measure(List<Roi> figures, ImageProcessor pixels, PrintStream out) {
        for (Roi roi : figures) {
            pixels.setRoi(roi);
            ImageStatistics s = ImageStatistics.getStatistics(
                pixels, Measurements.AREA + Measurements.MEAN + Measurements.MIN_MAX, null);
            out.println(roi.getName() + "," + s.pixelCount + "," + s.mean + "," + s.min + "," + s.max);
        }
    }

    static void save(String file) throws IOException {
        Map<String, Roi> figures = new LinkedHashMap<>();
        figures.put("box", new Roi(10, 20, 30, 40));
        figures.put("box of parts", new Roi(10.25, 20.5, 30.75, 40.5));
        figures.put("rounded", rounded());
        figures.put("rolled box", new RotatedRectRoi(20, 60, 70, 80, 24));
        figures.put("oval", new OvalRoi(12, 22, 33, 41));
        figures.put("oval of parts", new OvalRoi(12.25, 22.5, 33.5, 41.75));
        figures.put("rolled oval", new EllipseRoi(20, 60, 70, 80, 0.4));
        figures.put("polygon", new PolygonRoi(new int[] {10, 62, 36}, new int[] {15, 28, 71}, 3, Roi.POLYGON));
        figures.put("freehand", new PolygonRoi(new int[] {5, 12, 12, 8, 5}, new int[] {3, 5, 12, 13, 9}, 5, Roi.FREEROI));
        figures.put("traced", new PolygonRoi(new int[] {5, 9, 9, 7, 7, 5}, new int[] {3, 3, 8, 8, 6, 6}, 6, Roi.TRACED_ROI));
        figures.put("line", wide(new Line(10.5, 20.25, 70, 45), 7));
        figures.put("arrow", new Arrow(10.5, 20.25, 70, 45));
        figures.put("polyline",
                    wide(new PolygonRoi(new float[] {10.5f, 40f, 60.25f}, new float[] {12f, 50.5f, 20f}, Roi.POLYLINE), 3));
        figures.put("freeline", new PolygonRoi(new int[] {10, 12, 17}, new int[] {12, 15, 13}, 3, Roi.FREELINE));
        figures.put("angle", new PolygonRoi(new int[] {10, 40, 60}, new int[] {12, 50, 20}, 3, Roi.ANGLE));
        figures.put("points", new PointRoi(new float[] {10f, 40.5f}, new float[] {12f, 50.5f}));
        figures.put("composite", new ShapeRoi(new Roi(10, 20, 30, 40)).not(new ShapeRoi(new OvalRoi(15, 25, 11, 13))));
        figures.put("text", new TextRoi(10, 20, "text"));
        figures.put("\u7D30\u80DE \uD83D\uDD2C", new Roi(3, 4, 5, 6));
        figures.get("polygon").setGroup(3);
        try (ZipOutputStream zip = new ZipOutputStream(new FileOutputStream(file))) {
            for (Map.Entry<String, Roi> figure : figures.entrySet()) {
                Roi roi = figure.getValue();
                roi.setName(figure.getKey());
                zip.putNextEntry(new ZipEntry(figure.getKey() + ".roi"));
                zip.write(RoiEncoder.saveAsByteArray(roi));
            }
        }
    }

    static Roi rounded() {
        Roi roi = new Roi(10, 20, 30, 40);
        roi.setCornerDiameter(8);
        return roi;
    }
    static Roi wide(Roi roi, double width) {
        roi.setStrokeWidth(width);
        return roi;
    }
}
