// Dark or light, before anything is painted: what was chosen here last, or what the system prefers. No module, since
// those run later.
{
    const kKey = "roi-theme";
    const root = document.documentElement;
    const prefersLight = window.matchMedia("(prefers-color-scheme: light)").matches;
    root.dataset.theme = localStorage.getItem(kKey) ?? (prefersLight ? "light" : "dark");

    document.addEventListener("DOMContentLoaded", () => {
        document.getElementById("theme")?.addEventListener("click", () => {
            root.dataset.theme = root.dataset.theme === "dark" ? "light" : "dark";
            localStorage.setItem(kKey, root.dataset.theme);
            document.dispatchEvent(new Event("themechange"));
        });
    });
}
