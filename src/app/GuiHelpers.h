#pragma once

#include <QString>

class QLineEdit;
class QWidget;

// Every dialog's text boxes select their whole text when they get the focus.
void SelectAllText(QLineEdit* textBox);

// Makes every text box of the window select its whole text when it gets the focus.
void SelectAllTextOnFocus(QWidget* window);

// Opens the address with the desktop's browser; when none answers, a warning box
// "Could not find associated Browser", titled "Browser Not Found".
void OpenURL(QWidget* owner, const QString& url);
