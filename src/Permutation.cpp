#include <kyrOrvel/Permutation>

#include <iostream>

namespace kyrOrvel {

Permutation::~Permutation()
{
    delete[] P;
    delete[] Pi;
}

void Permutation::print() const
{
    std::cout << "i\tP\tPi" << std::endl;
    for (unsigned int k = 0; k < size; ++k)
        std::cout << k << "\t" << static_cast<int>(P[k]) << "\t" << static_cast<int>(Pi[k])
                  << std::endl;
}

} // namespace kyrOrvel
