#include "Csv.h"

#include <sstream>

namespace bench {

namespace {

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text)
        result.append(c == '"' ? 2 : 1, c);
    return result + '"';
}

/// Quoted only where it has to be.
std::string field(const std::string& text)
{
    return text.find_first_of(",\"\r\n") == std::string::npos ? text : quoted(text);
}

/// A number behind its comma, or nothing behind it.
void write(std::ostream& csv, bool known, double value)
{
    csv << ',';
    if (known)
        csv << value;
}

void writeLine(std::ostream& csv, const Row& row, const Result& result, double dgemm)
{
    csv << field(row.input) << ',' << quoted(result.contender);
    for (const Step step : {kAnalyze, kFactorize, kSolve})
        write(csv, result.solved, result.milliseconds[step]);
    write(csv, result.solved, result.factorScalars);
    write(csv, result.solved, result.operations);
    write(csv, result.solved || result.residual != 0, result.residual);
    csv << ',' << row.scalars;
    const double speed = gflopsOf(result);
    write(csv, speed > 0, speed);
    write(csv, speed > 0 && dgemm > 0, speed / dgemm);
    csv << '\n';
}

} // namespace

std::string csvOf(const Table& table, double dgemm)
{
    std::ostringstream csv;
    csv << "input,solver,analyse ms,refactor ms,solve ms,nnz(L),multiply-subtracts,residual,"
           "scalars,GFLOP/s,share of dgemm\n";
    for (const Row& row : table)
        for (const Result& result : row.results)
            writeLine(csv, row, result, dgemm);
    return csv.str();
}

} // namespace bench
