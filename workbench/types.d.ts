// What travels between the page and the server (docs/workbench.md says what it means), and of the libraries as much as
// the page uses.

export type Point = [x: number, y: number];

export interface XY {
    x: number;
    y: number;
}

export interface NodeData extends XY {
    node: string;
    meaning: string;
}

export interface FigureData {
    name: string;
    class: string;
    index: number;
    box: [left: number, top: number, right: number, bottom: number] | null;
    outline: Point[][];
    axis?: Point[];
    nodes?: NodeData[];
    points?: Point[];
}

export interface Parameter {
    name: string;
    value: number | null;
    kind: "number" | "plain" | "shear" | "lock" | "shown" | "action";
    unit: "" | "px" | "degrees";
}

export interface Detail extends FigureData {
    nodes: NodeData[];
    parameters: Parameter[];
    mask?: [width: number, height: number];
}

export interface FigureClass {
    class: string;
    what: string;
    contents: "nothing" | "points" | "geometry" | "image";
    nodes: string[];
    nodesAtPoints: boolean;
    center: boolean;
    square: boolean;
    parameters: Parameter[];
}

export interface Column {
    name: string;
    meaning: string;
    shown: boolean;
}

export interface Format {
    name: string;
    ending: string;
    what: string;
    reads: boolean;
    writes: boolean;
}

export interface ServerState {
    revision: number;
    readOnly: boolean;
    set: string;
    canUndo: boolean;
    canRedo: boolean;
    colours: [red: number, green: number, blue: number][];
    images: { index: number; name: string }[];
    classes: FigureClass[];
    columns: Column[];
    formats: Format[];
}

/** The distances of columns and of rows. */
export interface PixelSize extends XY {
    unit: string;
}

export interface ImageData_ {
    name: string;
    pages: number;
    width: number;
    height: number;
    channels: string[];
    depth: string;
    bits: number;
    levels: number;
    rows: number;
    pixelSize: PixelSize;
    low: number | null;
    high: number | null;
    warnings: string[];
}

export type Cell = string | number | null;

export interface Measured {
    columns: string[];
    rows: Cell[][];
}

export interface Changes {
    revision: number;
    figures: FigureData[];
    removed: string[];
    order?: string[];
    warnings?: string[];
    measured?: Measured;
}

export type Edit =
    | { op: "add"; class: string; name?: string; parameters?: Record<string, number | string>; points?: Point[] }
    | { op: "set"; name: string; parameters: Record<string, number | string> }
    | { op: "drag"; name: string; node: string; x: number; y: number; ctrl: boolean; shift: boolean }
    | { op: "move"; names: string[]; dx: number; dy: number }
    | { op: "point"; name: string; action: "add" | "insert" | "move" | "remove"; index?: number; x?: number; y?: number }
    | { op: "rename"; name: string; to: string }
    | { op: "delete"; names: string[] }
    | { op: "duplicate"; names: string[]; dx: number; dy: number }
    | { op: "order"; names: string[]; to: number };

export interface Histogram {
    edges: number[];
    counts: number[];
}

export interface ProfileCurve {
    distance: number[];
    length: number[];
    unit: string;
    x: number[];
    y: number[];
    mean: (number | null)[];
    std: (number | null)[];
}

/** From image to canvas: a point (x, y) of the image lies at (left + x scale, top + y scale). */
export interface View {
    scale: number;
    left: number;
    top: number;
    width: number;
    height: number;
}

// Leaflet

export interface LeafletPoint extends XY {
    subtract(other: LeafletPoint): LeafletPoint;
}

export interface LeafletMap {
    getZoom(): number;
    setZoom(zoom: number, options?: object): LeafletMap;
    setMinZoom(zoom: number): LeafletMap;
    setView(center: [number, number], zoom: number, options?: object): LeafletMap;
    fitBounds(bounds: [[number, number], [number, number]], options?: object): LeafletMap;
    getSize(): LeafletPoint;
    panBy(offset: [number, number], options?: object): LeafletMap;
    panInside(at: [number, number], options?: object): LeafletMap;
    zoomIn(by?: number): LeafletMap;
    zoomOut(by?: number): LeafletMap;
    getPane(name: string): HTMLElement;
    getContainer(): HTMLElement;
    getCenter(): { lat: number; lng: number };
    mouseEventToLatLng(event: MouseEvent): { lat: number; lng: number };
    latLngToContainerPoint(at: [number, number]): LeafletPoint;
    containerPointToLayerPoint(at: [number, number]): LeafletPoint;
    containerPointToLatLng(at: [number, number]): { lat: number; lng: number };
    _latLngToNewLayerPoint(at: { lat: number; lng: number }, zoom: number, center: object): LeafletPoint;
    getZoomScale(to: number, from?: number): number;
    invalidateSize(options?: object): LeafletMap;
    on(types: string, listener: (event: any) => void): LeafletMap;
    stop(): LeafletMap;
}

export interface LeafletGrid {
    addTo(map: LeafletMap): this;
    remove(): this;
    redraw(): this;
    _tiles: Record<string, { el: HTMLElement; coords: XY & { z: number } }>;
}

declare global {
    const L: {
        map(container: HTMLElement, options: object): LeafletMap;
        extend(into: object, ...from: object[]): object;
        CRS: { Simple: object };
        Transformation: new (a: number, b: number, c: number, d: number) => object;
        GridLayer: new (options: object) => LeafletGrid;
        DomUtil: {
            setPosition(element: HTMLElement, at: LeafletPoint): void;
            setTransform(element: HTMLElement, offset: LeafletPoint, scale: number): void;
        };
    };
    const Chart: any;
}
