// What comes with the program: the manual and the examples, beside where it was installed or, while
// it is being built, in the source tree.
#pragma once

#include <QString>

namespace cadencora::stage {

QString manualFolder(); // empty: it is not there
QString exampleFile();  // a figure that walks; empty: it is not there

// The page of the manual about the button of a label, found by the letters of its name:
// "commands/destroy-keys.md". Empty where the manual has no such page.
QString pageAbout(const QString& label);

// The first paragraph of a page of the manual, as rich text; empty where there is no such page.
QString beginningOf(const QString& page);

} // namespace cadencora::stage
