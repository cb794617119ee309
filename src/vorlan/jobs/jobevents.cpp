#include <vorlan/jobevents.h>

namespace vorlan {

JobArchivedEvt::JobArchivedEvt(boost::shared_ptr<Job> archived) : job(std::move(archived)) {
    if (!job)
        return;
    id = job->id;
    name = job->Name();
    created = job->Created().Milliseconds();
    finished = job->FinishedTime().Milliseconds();
    status = job->Status();
}

} // namespace vorlan
