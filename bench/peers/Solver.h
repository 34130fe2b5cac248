#ifndef KYRORVEL_BENCH_SOLVER_H
#define KYRORVEL_BENCH_SOLVER_H

#include "Input.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

/// A solver at work on one input. Steps are taken in order and may be repeated; false: it failed.
class Solver {
public:
    virtual ~Solver() = default;
    virtual void forget() {}      ///< the analysis, not the memory; not part of any time
    virtual bool analyze() = 0;   ///< from scratch
    virtual bool factorize() = 0; ///< with the values of the input
    virtual bool solve(const std::vector<double>& b, std::vector<double>& x) = 0;
    virtual double factorScalars() const = 0;       ///< of L; 0 if it does not say
    virtual double operations() const { return 0; } ///< multiply-subtracts; 0 if it does not say
};

struct Contender {
    std::string name;
    bool definiteOnly;
    std::function<std::unique_ptr<Solver>(const Input&)> make;
};

/// The contenders that this program was built with; the first ones are this library.
std::vector<Contender> allContenders();

std::vector<Contender> ownContenders();
std::vector<Contender> eigenContenders();
std::vector<Contender> cholmodContenders();
std::vector<Contender> ldlContenders();
std::vector<Contender> mumpsContenders();

} // namespace bench

#endif
