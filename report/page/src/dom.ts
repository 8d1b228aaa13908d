// Elements made by code. What comes from a payload gets into the page through here alone: as text, never as markup.

export type Child = Node | string | null | undefined | false;

export interface Props {
    class?: string;
    title?: string;
    attributes?: { [name: string]: string };
    on?: { [event: string]: (event: Event) => void };
}

const kLongest = 2000;
// Control bytes, what turns the direction of writing or has no width, and halves of pairs that stand alone.
const kOdd =
    /[\u0000-\u0008\u000b-\u001f\u007f-\u009f\u00ad\u061c\u200b-\u200f\u2028-\u202e\u2060-\u206f\ufeff\ufff9-\ufffb]|\p{Cs}/gu;

/** The code of a character in angle brackets: fonts have signs for few of these. */
function named(odd: string): string {
    return "\u27e8" + odd.charCodeAt(0).toString(16).toUpperCase().padStart(2, "0") + "\u27e9";
}

/** A text in which everything can be seen, and that is cut where it is too long for any screen. */
export function visible(text: string): string {
    const cut = text.length > kLongest ? `${text.slice(0, kLongest)}\u2026 (${text.length} characters)` : text;
    return cut.replace(kOdd, named);
}

export function el<Tag extends keyof HTMLElementTagNameMap>(
    tag: Tag,
    props: Props = {},
    ...children: Child[]
): HTMLElementTagNameMap[Tag] {
    const element = document.createElement(tag);
    if (props.class) {
        element.className = props.class;
    }
    if (props.title) {
        element.title = visible(props.title);
    }
    for (const [name, value] of Object.entries(props.attributes ?? {})) {
        element.setAttribute(name, visible(value));
    }
    for (const [event, handler] of Object.entries(props.on ?? {})) {
        element.addEventListener(event, handler);
    }
    append(element, children);
    return element;
}

export function append(parent: Node, children: Child[]): void {
    for (const child of children) {
        if (child) {
            parent.appendChild(typeof child === "string" ? document.createTextNode(visible(child)) : child);
        }
    }
}

export function button(label: string, action: (event: Event) => void, props: Props = {}): HTMLButtonElement {
    return el(
        "button",
        { ...props, attributes: { type: "button", ...props.attributes }, on: { ...props.on, click: action } },
        label,
    );
}

export function replace(parent: Element, ...children: Child[]): void {
    parent.replaceChildren();
    append(parent, children);
}
