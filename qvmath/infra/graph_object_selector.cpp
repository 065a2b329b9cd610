// SPDX-License-Identifier: MIT
#include <qvmath/infra/graph_object.h>
#include <qvmath/infra/graph_object_selector.h>

namespace KvF {

namespace {

class CTotalSelector final : public IGraphObjectSelector {
 public:
  bool operator()(const CGraphObject* object) const override { return object != nullptr; }
  IGraphObjectSelector* Copy() const override { return new CTotalSelector(*this); }
};

}  // namespace

IGraphObjectSelector::~IGraphObjectSelector() = default;

bool IGraphObjectSelector::IsActiveAndSelected(const CGraphObject& object) const {
  return object.isActive() && object.isSelected() && (*this)(&object);
}

IGraphObjectSelector* IGraphObjectSelector::CreateTotal() { return new CTotalSelector; }

}  // namespace KvF
