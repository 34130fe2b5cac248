#include <kyrOrvel/MultifrontManager>

namespace kyrOrvel {

template class MultifrontManager<float>;
template class MultifrontManager<double>;

} // namespace kyrOrvel
