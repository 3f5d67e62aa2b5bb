#version 440
// Disc, track band and the fullness arc that runs clockwise from the top with a round cap.
// Drawn only on the rim: DiscMaterial::plainRadius knows these proportions, and inside it the
// disc is its plain colour.
layout(location = 0) in vec2 p;
layout(location = 0) out vec4 fragColor;

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
    float d = length(p);
    float R = centerR * 0.94;
    float aa = 1.2 / pxPerUnit;
    float disc = 1.0 - smoothstep(R - aa, R, d);
    if (disc <= 0.0)
        discard;
    float width = R * 0.085;
    float mid = R - width / 2.0 - R * 0.035;
    float band = 1.0 - smoothstep(width / 2.0 - aa, width / 2.0 + aa, abs(d - mid));
    float a = atan(p.x, p.y);
    float t = a / 6.2831853;
    if (a < 0.0)
        t += 1.0;
    float on = step(0.001, level);
    float edge = (level - t) * 6.2831853 * mid;
    float filled = clamp(edge / aa + 0.5, 0.0, 1.0) * on;
    float cap = 1.0 - smoothstep(width / 2.0 - aa, width / 2.0 + aa, length(p - vec2(0.0, mid)));
    vec4 colour = mix(discColor, trackColor, band);
    colour = mix(colour, arcColor, max(band * filled, cap * on));
    float alpha = disc * qt_Opacity;
    fragColor = vec4(colour.rgb * alpha, alpha);
}
