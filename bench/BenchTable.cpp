#include "BenchTable.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>

#include <nlohmann/json.hpp>

namespace hbbtv_bench {

namespace {

std::string formatted(const char* format, double value)
{
    char text[64];
    snprintf(text, sizeof(text), format, value);
    return text;
}

std::string withValue(const std::string& name, double value, const std::string& unit)
{
    return name + " " + formatted(value >= 100 ? "%.0f" : value >= 1 ? "%.2f" : "%.4f", value) + " " + unit;
}

std::vector<double> ratios(const std::vector<double>& subject, const std::vector<double>& baseline)
{
    std::vector<double> result;
    for (size_t i = 0; i < subject.size() && i < baseline.size(); ++i) {
        result.push_back(baseline[i] > 0 ? subject[i] / baseline[i] : 0);
    }
    return result;
}

Row rowOf(const std::string& figure, const std::string& subjectName, const std::vector<double>& subject,
          const std::string& baselineName, const std::vector<double>& baseline, const std::string& unit)
{
    Row row;
    row.figure = figure;
    row.subject = withValue(subjectName, median(subject), unit);
    row.baseline = baselineName.empty() ? "-" : withValue(baselineName, median(baseline), unit);
    const std::vector<double> each = ratios(subject, baseline);
    if (!each.empty()) {
        row.ratio = median(each);
        row.ratioMin = *std::min_element(each.begin(), each.end());
        row.ratioMax = *std::max_element(each.begin(), each.end());
    }
    row.rounds = static_cast<int>(subject.size());
    return row;
}

} // namespace

double median(std::vector<double> values)
{
    return percentile(std::move(values), 50);
}

Row ratioRow(const std::string& figure, const std::string& subjectName, const std::vector<double>& subject,
             const std::string& baselineName, const std::vector<double>& baseline, const std::string& unit,
             Better better, double limit)
{
    Row row = rowOf(figure, subjectName, subject, baselineName, baseline, unit);
    row.target = formatted(better == Better::Lower ? "<= %.2fx" : ">= %.2fx", limit);
    row.met = (better == Better::Lower ? row.ratio <= limit : row.ratio >= limit) ? "yes" : "no";
    return row;
}

Row absoluteRow(const std::string& figure, const std::string& subjectName, const std::vector<double>& subject,
                const std::string& baselineName, const std::vector<double>& baseline, const std::string& unit,
                double limit)
{
    Row row = rowOf(figure, subjectName, subject, baselineName, baseline, unit);
    if (limit > 0) {
        row.target = "<= " + formatted("%g", limit) + " " + unit;
        row.met = median(subject) <= limit ? "yes" : "no";
    } else {
        row.target = "-";
        row.met = "-";
    }
    return row;
}

void printTable(const std::vector<Row>& rows)
{
    printf("%-44s %-34s %-34s %7s %-15s %-12s %s\n", "figure", "subject (median)", "baseline (median)", "ratio",
           "min..max", "target", "met");
    for (const Row& row : rows) {
        const std::string range = row.baseline == "-" ? "-" : formatted("%.2f", row.ratioMin) + ".." +
                                                                  formatted("%.2f", row.ratioMax);
        const std::string ratio = row.baseline == "-" ? "-" : formatted("%.2f", row.ratio);
        printf("%-44s %-34s %-34s %7s %-15s %-12s %s\n", row.figure.c_str(), row.subject.c_str(),
               row.baseline.c_str(), ratio.c_str(), range.c_str(), row.target.c_str(), row.met.c_str());
    }
    fflush(stdout);
}

void writeJson(const std::vector<Row>& rows, const std::string& path)
{
    nlohmann::json all = nlohmann::json::array();
    for (const Row& row : rows) {
        all.push_back({{"figure", row.figure},     {"subject", row.subject},   {"baseline", row.baseline},
                       {"ratio", row.ratio},       {"ratioMin", row.ratioMin}, {"ratioMax", row.ratioMax},
                       {"rounds", row.rounds},     {"target", row.target},     {"met", row.met}});
    }
    std::ofstream(path) << all.dump(2) << "\n";
}

std::vector<Row> readJson(const std::string& path)
{
    std::vector<Row> rows;
    std::ifstream in(path);
    const nlohmann::json all = nlohmann::json::parse(in, nullptr, false);
    if (!all.is_array()) {
        fprintf(stderr, "bench_report: %s holds no rows\n", path.c_str());
        return rows;
    }
    for (const nlohmann::json& item : all) {
        Row row;
        row.figure = item.value("figure", "");
        row.subject = item.value("subject", "");
        row.baseline = item.value("baseline", "");
        row.ratio = item.value("ratio", 0.0);
        row.ratioMin = item.value("ratioMin", 0.0);
        row.ratioMax = item.value("ratioMax", 0.0);
        row.rounds = item.value("rounds", 0);
        row.target = item.value("target", "");
        row.met = item.value("met", "");
        rows.push_back(row);
    }
    return rows;
}

std::string jsonPathFrom(int argc, char** argv)
{
    for (int i = 1; i + 1 < argc; ++i) {
        if (strcmp(argv[i], "--json") == 0) {
            return argv[i + 1];
        }
    }
    return "";
}

} // namespace hbbtv_bench
