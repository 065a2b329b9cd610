// SPDX-License-Identifier: MIT
// Explicit instantiations of the vertex linear combination and its iterator, and the
// float/double overloads of EvaluateLinCombination.
#include <qvmath/linsys/vertex_linear_combination.h>
#include <qvmath/linsys/vertex_linear_combination_impl.h>

namespace REmath {

namespace {

// Shared body of the float and double overloads. The order of operations is the documented
// one: sum = position·c + sum, rounded to T at each step; a coefficient that compares equal
// to zero is skipped before the informer is asked.
template <class T>
T EvaluateLinCombinationT(const CVertexLinearCombination<T>& lc,
                          const IVertexPosInformer<T>& informer) {
  T sum = T(0);
  for (auto it = lc.begin(), end = lc.end(); it != end; ++it) {
    const T c = it->GetCoeff();
    if (c == T(0)) continue;
    const T term = T(informer.GetVertexPosition(it->GetVertexIdx()) * c);
    sum = T(term + sum);
  }
  return sum;
}

}  // namespace

template class QVMATH_TEMPLATE_DEF CVertexLinearCombination<float>;
template class QVMATH_TEMPLATE_DEF CVertexLinearCombination<double>;
template class QVMATH_TEMPLATE_DEF CLinearCombIterator<float>;
template class QVMATH_TEMPLATE_DEF CLinearCombIterator<double>;

float EvaluateLinCombination(const CVertexLinearCombination<float>& lc,
                             const IVertexPosInformer<float>& informer) {
  return EvaluateLinCombinationT(lc, informer);
}

double EvaluateLinCombination(const CVertexLinearCombination<double>& lc,
                              const IVertexPosInformer<double>& informer) {
  return EvaluateLinCombinationT(lc, informer);
}

}  // namespace REmath
