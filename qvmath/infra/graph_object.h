// SPDX-License-Identifier: MIT
// The base of the host document's displayable objects: activity, selection and visibility
// flags, an identifier and optional own, group and temporary colours.
#pragma once

#include <qvmath/platform/export.h>

#include <cstdint>
#include <optional>

namespace KvF {

/// A displayable object of the host's document. The library declares it for the
/// selectors of the save/load framework; the meaning of the colours (which one is drawn
/// when several are set) belongs to the host's document model.
/// Colours are packed RGB as everywhere in the library (red in bits 0-7, green 8-15,
/// blue 16-23). A fresh object is inactive, unselected, visible, has ID 0 and no colour.
/// Hooks: `OnActivation` and `OnChangeVisibility` are called after the flag changed
/// (only on a real change); their defaults do nothing.
/// Copyable (flags, ID and colours are copied). Thread safety: none.
class QVMATH_API CGraphObject {
 public:
  CGraphObject() = default;
  CGraphObject(const CGraphObject&) = default;
  CGraphObject& operator=(const CGraphObject&) = default;
  virtual ~CGraphObject();

  /// @return the activity flag.
  bool isActive() const { return m_active; }
  /// Sets the activity flag; calls `OnActivation(active)` when it changed.
  void setActive(bool active);
  /// @return the selection flag.
  bool isSelected() const { return m_selected; }
  /// Sets the selection flag.
  virtual void setSelected(bool selected);
  /// @return the visibility flag.
  bool isVisible() const { return m_visible; }
  /// Sets the visibility flag; calls `OnChangeVisibility(visible)` when it changed.
  void setVisible(bool visible);

  /// @return the identifier.
  int getID() const { return m_id; }
  /// Sets the identifier (its uniqueness is the host's business).
  virtual void setID(int id);

  /// Gives the object its own colour.
  virtual void setOwnColor(std::uint32_t color);
  /// @param[out] color the own colour when there is one, untouched otherwise.
  /// @return true when the object has an own colour.
  virtual bool getOwnColor(std::uint32_t& color) const;
  /// Removes the own colour.
  virtual void deleteOwnColor();

  /// Gives the object its group's colour.
  void setGroupColor(std::uint32_t color);
  /// @param[out] color the group colour when there is one, untouched otherwise.
  /// @return true when the object has a group colour.
  bool getGroupColor(std::uint32_t& color) const;
  /// Removes the group colour.
  void deleteGroupColor();
  /// Gives the object a temporary colour (for example a highlight).
  void setTempColor(std::uint32_t color);
  /// @param[out] color the temporary colour when there is one, untouched otherwise.
  /// @return true when the object has a temporary colour.
  bool getTempColor(std::uint32_t& color) const;
  /// Removes the temporary colour.
  void deleteTempColor();

 private:
  /// Called by `setActive` after the flag changed; the default does nothing.
  virtual void OnActivation(bool active);
  /// Called by `setVisible` after the flag changed; the default does nothing.
  virtual void OnChangeVisibility(bool visible);

  bool m_active = false;
  bool m_selected = false;
  bool m_visible = true;
  int m_id = 0;
  std::optional<std::uint32_t> m_ownColor;
  std::optional<std::uint32_t> m_groupColor;
  std::optional<std::uint32_t> m_tempColor;
};

}  // namespace KvF
