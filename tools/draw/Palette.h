#ifndef ORVEL_PALETTE_H
#define ORVEL_PALETTE_H

namespace orvel {

struct Colour {
    double red;
    double green;
    double blue;
};

/// The colour on the way from a to b.
inline Colour mix(const Colour& a, const Colour& b, double share)
{
    return {a.red + share * (b.red - a.red), a.green + share * (b.green - a.green),
            a.blue + share * (b.blue - a.blue)};
}

// Colours that are told apart with any kind of colour vision (Okabe, Ito 2008).
constexpr Colour kBlue = {0, 114.0 / 255, 178.0 / 255};
constexpr Colour kOrange = {230.0 / 255, 159.0 / 255, 0};
constexpr Colour kGreen = {0, 158.0 / 255, 115.0 / 255};
constexpr Colour kVermilion = {213.0 / 255, 94.0 / 255, 0};
constexpr Colour kSky = {86.0 / 255, 180.0 / 255, 233.0 / 255};
constexpr Colour kPurple = {204.0 / 255, 121.0 / 255, 167.0 / 255};
constexpr Colour kYellow = {240.0 / 255, 228.0 / 255, 66.0 / 255};

constexpr Colour kWhite = {1, 1, 1};
constexpr Colour kBlack = {0, 0, 0};
constexpr Colour kInk = {0.13, 0.13, 0.13};   ///< of words
constexpr Colour kFrame = {0.45, 0.45, 0.45}; ///< of axes
constexpr Colour kFaint = {0.9, 0.9, 0.9};    ///< of what is to be seen last
constexpr Colour kFillIn = {0.68, 0.68, 0.68};
constexpr Colour kDenseFillIn = {0.25, 0.25, 0.25}; ///< where many blocks make a shade

} // namespace orvel

#endif
