// What the page uses of the library, which comes without declarations.
declare module "d3-flame-graph" {
    import type { HierarchyRectangularNode } from "d3-hierarchy";
    import type { Selection } from "d3-selection";

    export type Frame<Data> = HierarchyRectangularNode<Data> & {
        highlight?: boolean;
        parent: Frame<Data> | null;
        children?: Frame<Data>[];
    };

    export interface FlameGraph<Data> {
        (selection: Selection<any, Data, any, any>): void;
        width(pixels: number): this;
        height(pixels: number): this;
        cellHeight(pixels: number): this;
        inverted(wanted: boolean): this;
        minFrameSize(pixels: number): this;
        transitionDuration(milliseconds: number): this;
        sort(byName: boolean): this;
        setLabelHandler(handler: (frame: Frame<Data>) => string): this;
        setSearchMatch(handler: (frame: Frame<Data>, words: string) => boolean): this;
        setSearchHandler(handler: (frames: Frame<Data>[], sum: number) => void): this;
        setDetailsHandler(handler: () => void): this;
        onHover(handler: (frame: Frame<Data>) => void): this;
        onClick(handler: (frame: Frame<Data>) => void): this;
        setColorMapper(handler: (frame: Frame<Data>) => string): this;
        search(words: string): void;
        clear(): void;
        zoomTo(frame: Frame<Data>): void;
        resetZoom(): void;
        update(): this;
        destroy(): this;
    }

    export default function flamegraph<Data>(): FlameGraph<Data>;
}
