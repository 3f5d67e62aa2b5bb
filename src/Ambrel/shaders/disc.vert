#version 440
// The centre disc's rim: triangles placed in the item, carrying their corners in ring units.
layout(location = 0) in vec4 position;
layout(location = 1) in vec2 ringPoint;
layout(location = 0) out vec2 p;

layout(std140, binding = 0) uniform buf {
    mat4 qt_Matrix;
    float qt_Opacity;
    float level;
    float centerR;
    float pxPerUnit;
    vec4 discColor;
    vec4 arcColor;
    vec4 trackColor;
};

void main() {
    p = ringPoint;
    gl_Position = qt_Matrix * position;
}
