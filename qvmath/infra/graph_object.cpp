// SPDX-License-Identifier: MIT
#include <qvmath/infra/graph_object.h>

namespace KvF {

namespace {

bool GetOptionalColor(const std::optional<std::uint32_t>& value, std::uint32_t& color) {
  if (value) color = *value;
  return value.has_value();
}

}  // namespace

CGraphObject::~CGraphObject() = default;

void CGraphObject::setActive(bool active) {
  if (m_active == active) return;
  m_active = active;
  OnActivation(active);
}

void CGraphObject::setSelected(bool selected) { m_selected = selected; }

void CGraphObject::setVisible(bool visible) {
  if (m_visible == visible) return;
  m_visible = visible;
  OnChangeVisibility(visible);
}

void CGraphObject::setID(int id) { m_id = id; }

void CGraphObject::setOwnColor(std::uint32_t color) { m_ownColor = color; }
bool CGraphObject::getOwnColor(std::uint32_t& color) const {
  return GetOptionalColor(m_ownColor, color);
}
void CGraphObject::deleteOwnColor() { m_ownColor.reset(); }

void CGraphObject::setGroupColor(std::uint32_t color) { m_groupColor = color; }
bool CGraphObject::getGroupColor(std::uint32_t& color) const {
  return GetOptionalColor(m_groupColor, color);
}
void CGraphObject::deleteGroupColor() { m_groupColor.reset(); }

void CGraphObject::setTempColor(std::uint32_t color) { m_tempColor = color; }
bool CGraphObject::getTempColor(std::uint32_t& color) const {
  return GetOptionalColor(m_tempColor, color);
}
void CGraphObject::deleteTempColor() { m_tempColor.reset(); }

void CGraphObject::OnActivation(bool) {}

void CGraphObject::OnChangeVisibility(bool) {}

}  // namespace KvF
