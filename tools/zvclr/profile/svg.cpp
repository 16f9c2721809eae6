// The report as a picture: tone curves beside the chromaticity diagram.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "curves.h"
#include "names.h"
#include "report.h"

namespace zvinfo {

namespace {

struct Point {
    double x;
    double y;
};

/// CIE 1931 chromaticities of single wavelengths, every 5 nm from 470 to 550 and every 10 nm elsewhere.
constexpr Point kLocus[] = {
    {0.1741, 0.0050}, {0.1738, 0.0049}, {0.1733, 0.0048}, {0.1726, 0.0048}, {0.1714, 0.0051}, {0.1689, 0.0069},
    {0.1644, 0.0109}, {0.1566, 0.0177}, {0.1440, 0.0297}, {0.1241, 0.0578}, {0.1096, 0.0868}, {0.0913, 0.1327},
    {0.0687, 0.2007}, {0.0454, 0.2950}, {0.0235, 0.4127}, {0.0082, 0.5384}, {0.0039, 0.6548}, {0.0139, 0.7502},
    {0.0389, 0.8120}, {0.0743, 0.8338}, {0.1142, 0.8262}, {0.1547, 0.8059}, {0.1929, 0.7816}, {0.2296, 0.7543},
    {0.2658, 0.7243}, {0.3016, 0.6923}, {0.3731, 0.6245}, {0.4441, 0.5547}, {0.5125, 0.4866}, {0.5752, 0.4242},
    {0.6270, 0.3725}, {0.6658, 0.3340}, {0.6915, 0.3083}, {0.7079, 0.2920}, {0.7190, 0.2809}, {0.7260, 0.2740},
    {0.7300, 0.2700}, {0.7320, 0.2680}, {0.7334, 0.2666}, {0.7344, 0.2656}, {0.7347, 0.2653}};

constexpr double kWidth = 960;
constexpr double kHeight = 540;
constexpr size_t kCurvePoints = 129;

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : printable(text)) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            default:
                result += c;
        }
    }
    return result;
}

std::string textAt(double x, double y, std::string_view words, std::string_view more = {}) {
    return fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\"{}{}>{}</text>\n", x, y, more.empty() ? "" : " ", more,
                       escaped(words));
}

/// A square of the picture with axes.
class Plot {
public:
    Plot(double left, double top, double side, double largest)
        : left_(left), top_(top), side_(side), largest_(largest) {}

    Point place(Point value) const {
        return {left_ + value.x / largest_ * side_, top_ + side_ - value.y / largest_ * side_};
    }

    std::string axes(double step, std::string_view title, std::string_view across, std::string_view up) const {
        std::string out = fmt::format(
            "<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" fill=\"white\" stroke=\"#444\"/>\n",
            left_, top_, side_, side_);
        const int count = static_cast<int>(std::lround(largest_ / step));
        for (int i = 0; i <= count; ++i) {
            const double value = i * step;
            const Point x = place({value, 0});
            const Point y = place({0, value});
            out += fmt::format("<path d=\"M{0:.1f} {1:.1f}V{2:.1f}M{3:.1f} {4:.1f}H{5:.1f}\" stroke=\"#ddd\"/>\n", x.x,
                               x.y, top_, y.x, y.y, left_ + side_);
            out += textAt(x.x, x.y + 16, fmt::format("{:.1f}", value), "text-anchor=\"middle\"");
            out += textAt(y.x - 6, y.y + 4, fmt::format("{:.1f}", value), "text-anchor=\"end\"");
        }
        out += textAt(left_, top_ - 10, title, "font-weight=\"bold\"");
        out += textAt(left_ + side_ / 2, top_ + side_ + 32, across, "text-anchor=\"middle\"");
        return out + textAt(left_ - 50, top_ - 10, up);
    }

    std::string line(const std::vector<Point>& values, std::string_view style, bool closed) const {
        std::string path;
        for (const Point& value : values) {
            const Point at = place(value);
            path += fmt::format("{}{:.1f} {:.1f}", path.empty() ? "M" : "L", at.x, at.y);
        }
        return fmt::format("<path d=\"{}{}\" {}/>\n", path, closed ? "Z" : "", style);
    }

    double left() const { return left_; }
    double bottom() const { return top_ + side_; }

private:
    double left_;
    double top_;
    double side_;
    double largest_;
};

std::string legend(double x, double y, std::string_view colour, double width, std::string_view words) {
    return fmt::format("<path d=\"M{:.1f} {:.1f}h22\" stroke=\"{}\" stroke-width=\"{}\"/>\n", x, y - 4, colour, width) +
           textAt(x + 28, y, words);
}

struct CurveStyle {
    const char* tag;
    const char* colour;
    double width;  ///< narrower for those that are drawn later, so that equal curves are all seen
};

constexpr CurveStyle kCurves[] = {{"rTRC", "#d22", 6}, {"gTRC", "#2a2", 4}, {"bTRC", "#24d", 2}, {"kTRC", "#222", 2}};

std::vector<Point> pointsOf(const Curve& curve) {
    std::vector<Point> points;
    for (size_t i = 0; i < kCurvePoints; ++i) {
        const double x = static_cast<double>(i) / (kCurvePoints - 1);
        const double y = curve.at(x);
        points.push_back({x, std::isfinite(y) ? std::clamp(y, 0.0, 1.0) : 0.0});
    }
    return points;
}

std::string curvesPlot(const Profile& profile) {
    const Plot plot(60, 60, 380, 1.0);
    std::string out = plot.axes(0.2, "Tone curves", "device value", "linear");
    double x = plot.left();
    for (const CurveStyle& style : kCurves) {
        const std::optional<Curve> curve = curveOfTag(profile, sigOf(style.tag));
        if (!curve) {
            continue;
        }
        out += plot.line(pointsOf(*curve),
                         fmt::format("id=\"{}\" fill=\"none\" stroke=\"{}\" stroke-width=\"{}\"", style.tag,
                                     style.colour, style.width),
                         false);
        out += legend(x, plot.bottom() + 62, style.colour, style.width, style.tag);
        x += 90;
    }
    return x > plot.left() ? out : out + textAt(plot.left(), plot.bottom() + 62, "The profile has no tone curves.");
}

/// Of a tag with one XYZ value that is a colour.
std::optional<Point> chromaticityOf(const Profile& profile, uint32_t signature) {
    const int32_t index = profile.find(signature);
    if (index < 0 || profile.tags()[static_cast<size_t>(index)].type != sig("XYZ ")) {
        return std::nullopt;
    }
    const TagRecord record(profile, index);
    const ClrIccTagArray array = record.get().array;
    if (!record.filled() || array.count < 1) {
        return std::nullopt;
    }
    uint32_t words[3];
    std::memcpy(words, array.values, sizeof words);
    const double x = s15Fixed16(words[0]);
    const double y = s15Fixed16(words[1]);
    const double sum = x + y + s15Fixed16(words[2]);
    return sum > 0 ? std::optional(Point{x / sum, y / sum}) : std::nullopt;
}

std::string triangle(const Profile& profile, const Plot& plot) {
    std::vector<Point> corners;
    for (const uint32_t signature : {sig("rXYZ"), sig("gXYZ"), sig("bXYZ")}) {
        const std::optional<Point> corner = chromaticityOf(profile, signature);
        if (corner) {
            corners.push_back({std::clamp(corner->x, -0.05, 0.95), std::clamp(corner->y, -0.05, 0.95)});
        }
    }
    if (corners.size() < 3) {
        return textAt(plot.left(), plot.bottom() + 62, "The profile has no colorants.");
    }
    return plot.line(corners, "id=\"colorants\" fill=\"none\" stroke=\"#a2a\" stroke-width=\"2\"", true) +
           legend(plot.left(), plot.bottom() + 62, "#a2a", 2, "colorants as stored (relative to D50)");
}

std::string white(const Profile& profile, const Plot& plot) {
    const std::optional<Point> value = chromaticityOf(profile, sig("wtpt"));
    if (!value) {
        return {};
    }
    const Point at = plot.place({std::clamp(value->x, 0.0, 0.9), std::clamp(value->y, 0.0, 0.9)});
    const double x = plot.left() + 290;
    return fmt::format("<circle id=\"white\" cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"4\" fill=\"white\" stroke=\"#000\"/>\n",
                       at.x, at.y) +
           fmt::format("<circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"4\" fill=\"white\" stroke=\"#000\"/>\n", x + 10,
                       plot.bottom() + 58) +
           textAt(x + 20, plot.bottom() + 62, "media white");
}

std::string chromaticityPlot(const Profile& profile) {
    const Plot plot(540, 60, 380, 0.9);
    std::string out = plot.axes(0.1, "CIE 1931 chromaticities", "x", "y");
    out += plot.line({std::begin(kLocus), std::end(kLocus)},
                     "id=\"locus\" fill=\"#f4f4f4\" fill-opacity=\"0.6\" stroke=\"#888\"", true);
    return out + triangle(profile, plot) + white(profile, plot);
}

}  // namespace

std::string reportSvg(const Profile& profile, const Report& report) {
    std::string out = fmt::format(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0:.0f}\" "
        "height=\"{1:.0f}\" viewBox=\"0 0 {0:.0f} {1:.0f}\" font-family=\"sans-serif\" font-size=\"12\">\n",
        kWidth, kHeight);
    out += fmt::format("<title>{}</title>\n<rect width=\"100%\" height=\"100%\" fill=\"#fafafa\"/>\n",
                       escaped(report.file));
    out += textAt(60, 26, report.file, "font-size=\"15\" font-weight=\"bold\"");
    return out + curvesPlot(profile) + chromaticityPlot(profile) + "</svg>\n";
}

}  // namespace zvinfo
