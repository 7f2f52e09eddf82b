// Vectors and matrices in single precision, in storage that the caller supplies.
//
// Pure functions; call nobody, allocate nothing, report nothing. Row vectors: v' = v * M, so that
// a transform that applies A first and then B is the product A * B, and a translation is in
// row 3 of a Mat4. Angles are radians. The short names (initv, det3, matmul3) are traditional.
#pragma once

namespace cadencora {

struct Vec3 {
    float x, y, z;
};

// The form in which the host hands out the values of items.
struct DVec3 {
    double x, y, z;
};

// Row by row: row r, column c is m[3 * r + c].
struct Mat3 {
    float m[9];
};

// Row by row: row r, column c is m[4 * r + c]. Column 3 is (0, 0, 0, 1) in all that the plug-in
// builds.
struct Mat4 {
    float m[16];
};

void initv(Vec3* v, float x, float y, float z);
void initm3(Mat3* m, float m0, float m1, float m2, float m3, float m4, float m5, float m6, float m7,
            float m8);
void identity4(Mat4* m);

// The point through the matrix, divided by w; undivided where w is exactly 0. `out` may be `p`.
void transformp(const Vec3* p, const Mat4* m, Vec3* out);

// out = a * b; `out` may be `a` or `b`.
void matmul3(const Mat3* a, const Mat3* b, Mat3* out);
void matmul4(const Mat4* a, const Mat4* b, Mat4* out);

float det3(const Mat3* m);
float det4(const Mat4* m);

// The classical adjoint: the transpose of the cofactors. `out` must not be `m`.
void adjoint4(const Mat4* m, Mat4* out);

// The inverse. Where |det4| < 1e-6, `out` stays as the caller had it: callers that need a result
// for a singular matrix put the identity there first. `out` must not be `m`.
void inverse4(const Mat4* m, Mat4* out);

} // namespace cadencora
