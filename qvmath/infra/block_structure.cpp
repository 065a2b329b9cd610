// SPDX-License-Identifier: MIT
#include <qvmath/infra/block_structure.h>

namespace BlockProc {

// Out-of-line destructors anchor the vtables and type information in the library.
IKorvaFragmentDescriptor_Old::~IKorvaFragmentDescriptor_Old() = default;
IKorvaFragment_Old::~IKorvaFragment_Old() = default;
CBlockStructure::~CBlockStructure() = default;

Block_iter& Block_iter::operator++() {
  if (m_desc && m_structure) m_desc = m_structure->Next(m_desc);
  return *this;
}

Block_iter Block_iter::operator++(int) {
  Block_iter before = *this;
  ++*this;
  return before;
}

int CBlockStructure::BlockIndex(Block_iter it) {
  int index = 0;
  const Block_iter last = end();
  for (Block_iter b = begin(); b != last && b.Descriptor(); ++b, ++index)
    if (b == it) return index;
  return -1;
}

}  // namespace BlockProc
