/* Pool, job runner, conversion queue, quit check and recordkeeper, with clients that start a recording and die, and a
   converter that is killed at any moment or quits, and the one that is launched after it. `tests/model/check` explores
   every interleaving, and shows that each mend is needed.

   One event of the main thread is one branch of Main; what Queue can come between is not atomic. Left out: bubbles, which
   only delay the quit check, and what one thread does without another seeing it.

   With OBSERVED, the events of a real run (see tests/e2e/test_model_traces.py), the model only does what that run did, and
   an assertion fails when it can do all of it. A kill is an event then. */

#ifndef CLIENTS
#define CLIENTS 3
#endif
#ifndef KILLS
#define KILLS 1
#endif

/* The mends. */
#ifndef STEP_WHEN_IDLE
#define STEP_WHEN_IDLE 1 /* a job that waits without a step gets one */
#endif
#ifndef ARM_WHEN_DONE
#define ARM_WHEN_DONE 1 /* the quit check begins when nothing is left */
#endif
#ifndef DECLINE
#define DECLINE 1 /* no termination while there is work or a meeting */
#endif
#ifndef NOTICE_GONE
#define NOTICE_GONE 1 /* a process that was dead when it was to be watched has ended */
#endif
#ifndef REMEMBER
#define REMEMBER 1 /* an announced recording is in the state folder */
#endif
#ifndef KNOW_SAVED
#define KNOW_SAVED 1 /* an MP4 that a dead converter published counts */
#endif

#ifdef OBSERVED
#define START 1
#define SCHEDULE 2
#define STEP 3
#define CONVERT 4
#define STOP 5
#define RAN_OUT 6
#define QUIT 7
#define KILL 8
OBSERVED /* EVENTS of them: event[], and the client of each, who[] */
byte at;
#define isNext(e, m) (at < EVENTS && event[at] == e && who[at] == m)
#define NOTE at++; assert(at < EVENTS)
#define observe(e, m) atomic { isNext(e, m) -> NOTE }
#else
#define isNext(e, m) true
#define NOTE skip
#define observe(e, m) skip
#endif

/* What outlives a converter. */
chan bus = [CLIENTS] of { byte }; /* starts, until they are acknowledged: a client whose converter dies launches another */
bool alive[CLIENTS];
bool hasFile[CLIENTS];
bool announced[CLIENTS];
bool pending[CLIENTS];
byte converted[CLIENTS];
byte unborn = CLIENTS;
byte kills = KILLS;
bool left[CLIENTS]; /* pending when a converter comes up, and not yet announced to it */

/* The converter. */
bool dead = true;
bool mainDown = true;
bool queueDown = true;
bool watched[CLIENTS];
bool ended[CLIENTS]; /* the end of a watched process, or that it was gone, not yet reported */
bool known[CLIENTS];
byte knownCount;
chan jobs = [CLIENTS] of { byte };
byte steps; /* the one under way included */
bool running; /* a job, from its start report to its end */
bool finished;
bool served;

#define isIdle (steps == 0 && empty(jobs))

proctype Client(byte self) {
    if
    :: hasFile[self] = true
    :: skip
    fi;
    atomic { alive[self] = true; unborn--; bus ! self };
    atomic { alive[self] = false; ended[self] = watched[self] }
}

inline end(m) {
    atomic { ended[m] = false; watched[m] = false };
    /* A quit looks its process up and takes it out of the pool later; the queue may count it meanwhile. */
    atomic { known[m] -> known[m] = false; knownCount-- };
    if
    :: hasFile[m] ->
        observe(SCHEDULE, m);
        waited = nempty(jobs);
        /* Here the queue may take what waited, and run out. */
        jobs ! m;
        if
        :: waited || running -> skip
        :: else -> observe(STEP, 0); steps++
        fi
    :: else -> skip
    fi
}

/* What a converter left is announced to the next one as a client would. */
inline bring(m) {
    atomic {
        observe(START, m);
        left[m] = false;
        known[m] = true; knownCount++;
        if
        :: alive[m] -> watched[m] = true
        :: else -> ended[m] = true
        fi
    };
    if
    :: ended[m] -> end(m)
    /* What waits in the bus as well is handled first: the end follows with the others. */
    :: skip
    fi
}

proctype Main() {
    byte m;
    bool waited;
up:
    {
        do
        :: left[0] -> bring(0)
        :: CLIENTS > 1 && left[1 % CLIENTS] -> bring(1 % CLIENTS)
        :: CLIENTS > 2 && left[2 % CLIENTS] -> bring(2 % CLIENTS)
        :: else -> break
        od;
        do
        :: atomic { bus ? m ->
               announced[m] = true;
               pending[m] = (REMEMBER && hasFile[m]);
               known[m] = true; knownCount++;
               finished = (finished && !hasFile[m]);
               served = true;
               if
               :: hasFile[m] -> observe(START, m)
               :: else -> skip
               fi;
               if
               :: alive[m] -> watched[m] = true
               :: else -> ended[m] = NOTICE_GONE
               fi }
        :: ended[0] -> end(0)
        :: CLIENTS > 1 && ended[1 % CLIENTS] -> end(1 % CLIENTS)
        :: CLIENTS > 2 && ended[2 % CLIENTS] -> end(2 % CLIENTS)
        :: atomic { STEP_WHEN_IDLE && steps == 0 && nempty(jobs) && isNext(STEP, 0) -> NOTE; steps++ }
        :: atomic { ARM_WHEN_DONE && isIdle && knownCount == 0 && served && !finished -> finished = true }
        :: atomic { DECLINE && steps == 0 && knownCount > 0 && finished -> finished = false }
        /* A tick of the quit check. */
        :: atomic { finished && (!DECLINE || (isIdle && knownCount == 0)) && isNext(QUIT, 0) ->
               NOTE;
               assert(isIdle && knownCount == 0);
               dead = true }
        od
    } unless { atomic { dead -> mainDown = true } };
end_down:
    atomic { !mainDown -> goto up }
}

proctype Queue() {
    byte m;
up:
    {
        do
        :: steps > 0 ->
            if
            :: atomic { jobs ? m -> skip };
               observe(CONVERT, m);
               running = true;
               atomic { converted[m]++; assert(converted[m] == 1); running = false };
               observe(STOP, m);
               observe(STEP, 0);
               atomic { pending[m] = false; steps++ }
            :: atomic { empty(jobs) -> skip };
               observe(RAN_OUT, 0);
               if
               /* Between the count and the arming a start may come. */
               :: atomic { knownCount == 0 -> skip }; finished = true
               :: atomic { knownCount > 0 -> skip }
               fi
            fi;
            steps--
        od
    } unless { atomic { dead -> queueDown = true } };
end_down:
    atomic { !queueDown -> goto up }
}

inline recover(m) {
    if
    :: pending[m] ->
        served = true;
        if
        :: KNOW_SAVED && converted[m] > 0 -> pending[m] = false
        :: else -> left[m] = true
        fi
    :: else -> skip
    fi
}

/* The next launch, or the next login. */
proctype Launcher() {
    byte m;
end_idle:
    do
    :: d_step { dead && mainDown && queueDown &&
                (nempty(bus) || pending[0] || pending[1 % CLIENTS] || pending[2 % CLIENTS]) ->
            m = 0;
            do
            :: m < CLIENTS -> known[m] = false; watched[m] = false; ended[m] = false; left[m] = false; m++
            :: else -> break
            od;
            do
            :: jobs ? m
            :: empty(jobs) -> break
            od;
            knownCount = 0; steps = 0; running = false; finished = false; served = false;
            m = 0;
            do
            :: m < CLIENTS -> recover(m); m++
            :: else -> break
            od;
            m = 0;
            dead = false; mainDown = false; queueDown = false }
    od
}

proctype Killer() {
end_idle:
    do
    :: atomic { kills > 0 && !dead && isNext(KILL, 0) -> NOTE; kills--; dead = true }
    :: atomic { kills > 0 -> kills = 0 }
    od
}

/* Nothing can happen any more. */
proctype Judge() {
    byte m = 0;
    timeout;
    assert(dead);
    do
    :: m < CLIENTS -> assert(!(announced[m] && hasFile[m]) || converted[m] == 1); m++
    :: else -> break
    od
}

init {
    byte m = 0;
    atomic {
        do
        :: m < CLIENTS -> run Client(m); m++
        :: else -> break
        od;
        run Main(); run Queue(); run Launcher(); run Killer();
#ifndef OBSERVED
        run Judge()
#endif
    }
}
