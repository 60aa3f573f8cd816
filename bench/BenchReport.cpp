// Prints the rows of every benchmark's JSON file as one table and writes them to one JSON file.
//   bench_report OUT.json IN.json...
#include <cstdio>
#include <string>
#include <vector>

#include "BenchTable.h"

int main(int argc, char** argv)
{
    if (argc < 3) {
        fprintf(stderr, "usage: bench_report OUT.json IN.json...\n");
        return 2;
    }
    std::vector<hbbtv_bench::Row> rows;
    for (int i = 2; i < argc; ++i) {
        const std::vector<hbbtv_bench::Row> some = hbbtv_bench::readJson(argv[i]);
        rows.insert(rows.end(), some.begin(), some.end());
    }
    hbbtv_bench::printTable(rows);
    hbbtv_bench::writeJson(rows, argv[1]);
    int missed = 0;
    for (const hbbtv_bench::Row& row : rows) {
        missed += row.met == "no";
    }
    printf("\n%zu figures, %d target%s missed; written to %s\n", rows.size(), missed, missed == 1 ? "" : "s",
           argv[1]);
    return 0;
}
