#include "plugin/math/matrices.h"

#include <cmath>

namespace cadencora {

void initv(Vec3* v, float x, float y, float z) {
    *v = {x, y, z};
}

void initm3(Mat3* m, float m0, float m1, float m2, float m3, float m4, float m5, float m6, float m7,
            float m8) {
    *m = {{m0, m1, m2, m3, m4, m5, m6, m7, m8}};
}

void identity4(Mat4* m) {
    *m = {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};
}

void transformp(const Vec3* p, const Mat4* m, Vec3* out) {
    const float* a = m->m;
    const float x = p->x * a[0] + p->y * a[4] + p->z * a[8] + a[12];
    const float y = p->x * a[1] + p->y * a[5] + p->z * a[9] + a[13];
    const float z = p->x * a[2] + p->y * a[6] + p->z * a[10] + a[14];
    const float w = p->x * a[3] + p->y * a[7] + p->z * a[11] + a[15];
    if (w == 0)
        *out = {x, y, z};
    else
        *out = {x / w, y / w, z / w};
}

void matmul3(const Mat3* a, const Mat3* b, Mat3* out) {
    Mat3 product;
    for (int r = 0; r < 9; r += 3)
        for (int c = 0; c < 3; ++c)
            product.m[r + c] =
                a->m[r] * b->m[c] + a->m[r + 1] * b->m[3 + c] + a->m[r + 2] * b->m[6 + c];
    *out = product;
}

void matmul4(const Mat4* a, const Mat4* b, Mat4* out) {
    const float* m = b->m;
    Mat4 product;
    for (int r = 0; r < 16; r += 4) {
        const float x = a->m[r], y = a->m[r + 1], z = a->m[r + 2], w = a->m[r + 3];
        product.m[r] = x * m[0] + y * m[4] + z * m[8] + w * m[12];
        product.m[r + 1] = x * m[1] + y * m[5] + z * m[9] + w * m[13];
        product.m[r + 2] = x * m[2] + y * m[6] + z * m[10] + w * m[14];
        product.m[r + 3] = x * m[3] + y * m[7] + z * m[11] + w * m[15];
    }
    *out = product;
}

float det3(const Mat3* matrix) {
    const float* m = matrix->m;
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
           m[2] * (m[3] * m[7] - m[4] * m[6]);
}

// The determinants of three rows of a Mat4 without column 0, 1, 2 and 3, as det3 works them out;
// shared products are computed once.
static void minorsOf(const float* a, const float* b, const float* c, float out[4]) {
    const float p01 = b[0] * c[1] - b[1] * c[0], p02 = b[0] * c[2] - b[2] * c[0];
    const float p03 = b[0] * c[3] - b[3] * c[0], p12 = b[1] * c[2] - b[2] * c[1];
    const float p13 = b[1] * c[3] - b[3] * c[1], p23 = b[2] * c[3] - b[3] * c[2];
    out[0] = a[1] * p23 - a[2] * p13 + a[3] * p12;
    out[1] = a[0] * p23 - a[2] * p03 + a[3] * p02;
    out[2] = a[0] * p13 - a[1] * p03 + a[3] * p01;
    out[3] = a[0] * p12 - a[1] * p02 + a[2] * p01;
}

float det4(const Mat4* matrix) {
    const float* m = matrix->m;
    float minors[4];
    minorsOf(m + 4, m + 8, m + 12, minors);
    return m[0] * minors[0] - m[1] * minors[1] + m[2] * minors[2] - m[3] * minors[3];
}

void adjoint4(const Mat4* matrix, Mat4* out) {
    const float* m = matrix->m;
    for (int r = 0; r < 4; ++r) {
        float minors[4];
        minorsOf(r > 0 ? m : m + 4, r > 1 ? m + 4 : m + 8, r > 2 ? m + 8 : m + 12, minors);
        for (int c = 0; c < 4; ++c)
            out->m[4 * c + r] = (r + c) % 2 == 0 ? minors[c] : -minors[c];
    }
}

void inverse4(const Mat4* m, Mat4* out) {
    const float determinant = det4(m);
    if (std::fabs(static_cast<double>(determinant)) < 1e-6) return;
    adjoint4(m, out);
    const float factor = 1.0f / determinant;
    for (float& element : out->m)
        element *= factor;
}

} // namespace cadencora
