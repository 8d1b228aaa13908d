// What the blocks of a page share while it is shown.

import type { Clock } from "./clock";
import type { Payload } from "./payload";
import type { View } from "./view";

export interface Context {
    payload: Payload;
    view: View;
    clock: Clock;
    /** Ends what the page's blocks listen to, when another page is shown. */
    signal: AbortSignal;
    /** Pixels left of the plots: the same on the whole page, so that moments stand below each other. */
    gutter: number;
    run: number;
}
