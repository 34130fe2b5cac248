#include "Results.h"

#include <cstdio>
#include <memory>

namespace bulletjoints {

namespace {

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

bool good(std::FILE* file)
{
    return std::fflush(file) == 0 && std::ferror(file) == 0;
}

} // namespace

std::string lengthText(double metres)
{
    const char* unit = metres >= 0.1 ? "m" : metres >= 0.9995e-3 ? "mm" : "µm";
    const double value = metres >= 0.1 ? metres : metres >= 0.9995e-3 ? 1e3 * metres : 1e6 * metres;
    char text[32];
    std::snprintf(text, sizeof text, value >= 99.5 ? "%.0f %s" : "%.2g %s", value, unit);
    return text;
}

bool writeSummary(const Results& results, const std::string& path)
{
    const File file(std::fopen(path.c_str(), "w"));
    if (file == nullptr)
        return false;
    std::fprintf(file.get(), "precision,scene,method,steps,drift_max_m,drift_rms_m,drift_median_m,"
                             "drift_settled_max_m,penetration_max_m,step_median_ms\n");
    for (const Result& result : results.scenes)
        for (std::size_t m = 0; m < result.runs.size(); ++m) {
            const Run& run = result.runs[m];
            std::fprintf(file.get(), "%s,%s,%s,%zu,%.3g,%.3g,%.3g,%.3g,%.3g,%.3g\n",
                         results.precision.c_str(), result.scene.name.c_str(),
                         results.methods[m].name.c_str(), run.drift.size(), run.largestDrift(),
                         run.rmsDrift(), run.medianDrift(), run.settledDrift(), run.deepest,
                         run.medianMilliseconds);
        }
    return good(file.get());
}

bool writeDrift(const Results& results, const std::string& path)
{
    const File file(std::fopen(path.c_str(), "w"));
    if (file == nullptr)
        return false;
    std::fprintf(file.get(), "scene,method,seconds,drift_max_m,drift_rms_m\n");
    for (const Result& result : results.scenes)
        for (std::size_t m = 0; m < result.runs.size(); ++m)
            for (std::size_t i = 0; i < result.runs[m].drift.size(); ++i) {
                const Drift& drift = result.runs[m].drift[i];
                std::fprintf(file.get(), "%s,%s,%.4f,%.4g,%.4g\n", result.scene.name.c_str(),
                             results.methods[m].name.c_str(),
                             double(i + 1) / double(result.scene.rate), drift.largest, drift.rms);
            }
    return good(file.get());
}

} // namespace bulletjoints
