#include "ContactRecord.h"

namespace tolvo {

std::size_t ContactRecord::preferredEmail() const
{
  std::size_t best = emails.size();
  for (std::size_t i = 0; i < emails.size(); i++)
    {
      int rank = emails[i].preference;
      if (rank > 0 && (best == emails.size() || rank < emails[best].preference))
        best = i;
    }
  if (best == emails.size() && !emails.empty())
    best = 0;
  return best;
}

} // namespace tolvo
