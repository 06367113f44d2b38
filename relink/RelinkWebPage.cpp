#include "RelinkWebPage.h"

#include "AttributeReferences.h"
#include "DottedReferences.h"
#include "ReferenceMap.h"
#include "ReferenceSubstitution.h"
#include "UrlResolution.h"

namespace tolvo {

void relinkWebPage(std::string_view baseAddress, std::string& page,
                   const FileExtensionSet& extensions) {
  const ReferenceResolver resolver(baseAddress);
  ReferenceMap map;
  for (std::string_view candidate : collectDottedReferences(page, extensions)) {
    recordReference(map, resolver, candidate);
  }
  collectAttributeReferences(page, resolver, map);
  substituteReferences(map, page);
}

void relinkWebPage(std::string_view baseAddress, std::string& page) {
  relinkWebPage(baseAddress, page, EmptyFileExtensionSet{});
}

}  // namespace tolvo
