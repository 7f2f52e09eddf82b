// The two ways in which the viewport is painted: surfaces shaded by OpenGL, or their lines alone
// where the machine has no OpenGL.
#pragma once

#include "stage/desktop/canvas/picture.h"

#include <QWidget>

namespace cadencora::stage {

using MakePicture = std::function<ViewportPicture()>;

// Whether surfaces can be shaded here: OpenGL 3.3, by a graphics card or by software.
bool canShade();

// Both paint a new picture at each update() and leave the mouse to their parent. A picture for
// shading has surfaces with normals; one for lines has `lines`.
QWidget* makeShadedCanvas(MakePicture picture, QWidget* parent);
QWidget* makeLineCanvas(MakePicture picture, QWidget* parent);

} // namespace cadencora::stage
