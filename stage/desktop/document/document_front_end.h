// What a document asks of the front end with windows, beyond what every host does.
#pragma once

#include "stage/panels/front_end.h"

namespace cadencora::stage {

class DocumentFrontEnd : public FrontEnd {
public:
    // Called before the models of the panels are destroyed.
    virtual void closePanels() = 0;
};

} // namespace cadencora::stage
