#pragma once

// What the toolkit's drop-down lists can do and wxWidgets does not offer.

class wxWindow;

// Drops the list of a wxChoice or wxComboBox down.
void PopUpNativeList(wxWindow& choice);
bool IsNativeListUp(wxWindow const& choice);

// The mouse wheel over the control goes to the window around it.
void LeaveWheelToParent(wxWindow& choice);
