// Compiled with contraction allowed, so that a fused multiply-add is in it: the check for fused
// multiply-adds has to find this one.

double fusedSample(double a, double b, double c)
{
    return a * b + c;
}
