// How many pictures a second the viewport draws:
//
//   bench_viewport FILE [PICTURES]
//
// At 1280 by 720 pixels, a frame of the motion for each picture. Needs a display, such as that of
// xvfb-run. `bench/make-heavy` makes files that are hard to draw.

#include "stage/desktop/views/viewport.h"
#include "stage/desktop/canvas/viewport_canvas.h"
#include "stage/desktop/panels/desktop_front_end.h"

#include <QApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <cstdlib>

namespace cadencora::stage {

int benchViewport(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc < 2) {
        std::fputs("usage: bench_viewport FILE [PICTURES]\n", stderr);
        return 2;
    }
    const int pictures = argc > 2 ? std::atoi(argv[2]) : 200;
    ReadOptions options;
    options.meshes = true;
    auto loaded = readScene(argv[1], options);
    if (!loaded) {
        std::fprintf(stderr, "%s\n", loaded.problem().text().c_str());
        return 1;
    }
    DesktopFrontEnd frontEnd;
    Document document(frontEnd);
    frontEnd.serve(document);
    const bool shades = canShade();
    Viewport viewport(document, shades ? Viewport::Canvas::shaded : Viewport::Canvas::lines);
    viewport.resize(1280, 720);
    viewport.show();
    (void)document.show(std::move(*loaded), argv[1]);
    const std::int64_t frames = document.scene().lastFrame + 1;
    QElapsedTimer since;
    constexpr int warm = 10;
    for (int i = 0; i < warm + pictures; ++i) {
        if (i == warm) since.start();
        document.goToFrame(i % frames);
        viewport.findChild<QWidget*>()->repaint();
        QApplication::processEvents();
    }
    const double seconds = static_cast<double>(since.nsecsElapsed()) * 1e-9;
    std::printf("%s: %d pictures in %.2f s, %.1f a second\n", shades ? "shaded" : "lines", pictures,
                seconds, pictures / seconds);
    return 0;
}

} // namespace cadencora::stage

int main(int argc, char** argv) {
    return cadencora::stage::benchViewport(argc, argv);
}
