// Replaced by the dialog system.
