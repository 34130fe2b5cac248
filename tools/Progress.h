#ifndef ORVEL_PROGRESS_H
#define ORVEL_PROGRESS_H

#include <string>

namespace orvel {

/// Says on standard error what is being done while it lasts, if somebody is looking: nothing where
/// that is no terminal. The line is erased afterwards.
class Progress {
public:
    explicit Progress(const std::string& what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    bool m_shown;
};

} // namespace orvel

#endif
