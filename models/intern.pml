/*
 * The interning protocol in thread-safe mode: one or two contents, one shard, a few threads.
 *
 * Checks the order of the steps of Kel::DedupTableCore on the word of Mox::CountWord under every
 * interleaving. Each plain load, compare-and-swap, lock and unlock is one step; a compare-and-swap
 * compares with a value loaded some steps before. README.md lists what is not modelled.
 *
 * A step that the code marks with MOX_SCHEDULING_POINT has its name here in a comment. The table has
 * one slot for each content; slots.pml has the steps of changes and probes of real slots.
 *
 * A configuration is a set of these macros:
 *
 *   THREADS   2 or 3
 *   ROUNDS    how often each thread interns, uses and releases the content
 *   BRIEF     a thread only interns and releases: no look-up before, no second reference
 *   REGISTERED  a lifetime notifiee is registered from the start
 *   REREGISTERS another thread unregisters the notifiee and registers it again, at any time
 *   REPLACES  another thread registers one or no notifiee instead, twice; with LEAVES, a notifiee may
 *             register another one during a notification
 *   THROWS    the notifiee's handleInsert may throw
 *   REENTERS  the notifiee looks the content up again from inside handleInsert
 *   LEAVES    the notifiee may unregister itself during a notification
 *   RETURNS   handleNotificationStop may register a notifiee again
 *   REUSES    the memory of a destroyed object is reused for the next one
 *   CONTENTS  2: two contents, in one shard
 *   COLLIDES  ... with the same tag: a look-up may probe the object of the other one first
 *   LISTS     another thread lists all objects
 *   FAILS     an insertion may fail for lack of memory
 *   RESETS    the notifiee's handleInsert may reset the pointer used to intern the object
 *   NOTIFIERS lifetime notifiers are created by the notifiee or, without one, by a holder, and
 *             destroyed by any thread at any time; the value is the maximum per object created by
 *             holders
 *   DIES      the table is destroyed with its last reference, while objects may still be held
 *   DIES_INSIDE  ... and a thread's reference to the table may be released in a notification
 *
 * FAULT_... plants a fault, which must be found.
 */

#ifdef REUSES
#define OBJECTS (2 * THREADS)
#else
#define OBJECTS (THREADS * ROUNDS)
#endif
#ifndef CONTENTS
#define CONTENTS 1
#endif
#define NONE 255

#if defined(REREGISTERS) || defined(REPLACES)
#define REGISTRAR 1
#else
#define REGISTRAR 0
#endif
#ifdef LISTS
#define LISTER 1
#else
#define LISTER 0
#endif
#if defined(REGISTERED) || REGISTRAR
#define NOTIFIEE
#endif
#if defined(REGISTERED) && !defined(LEAVES)
#define ALWAYS_REGISTERED
#endif
#if defined(DIES) || defined(DIES_INSIDE)
#define TABLE_DIES
#endif

/* ---- Mox::CountWord: count, floor, state, flags and table, changed in one atomic step ---------- */

#define countOf(w) ((w) & 15)
#define floorOf(w) (((w) >> 4) & 7)
#define stateOf(w) (((w) >> 7) & 7)
#define withState(w, s) (((w) & ~(7 << 7)) | ((s) << 7))
#define FLOOR_ONE 16
#define FLOOR_MASK (7 << 4)
#define PENDING (1 << 10)
#define ANNOUNCED (1 << 11)
#define TABLE_ID (1 << 12)  /* the object has this table's id */

#define NEVER_INTERNED 0
#define INTERNED 1
#define BEING_DETACHED 2
#define LEFT 3

#define isSettled(w) (stateOf(w) == INTERNED && ((w) & PENDING) == 0)
#define isSettledHere(w) (isSettled(w) && ((w) & TABLE_ID) != 0)

/* The changes, as functions of the current word. */
#define enteredTable(w, announce)                                                                  \
    (withState(w, INTERNED) + 1 + FLOOR_ONE + TABLE_ID + (announce -> (PENDING | ANNOUNCED) : 0))
#define announcedInsertion(w) ((w) & ~PENDING)
#define forgottenAnnouncement(w) ((w) & ~ANNOUNCED)
#define leftTable(w) withState((w) & ~(TABLE_ID | FLOOR_MASK | PENDING | ANNOUNCED), LEFT)
#define leftBehind(w) withState((w) & ~(FLOOR_MASK | PENDING | ANNOUNCED), LEFT)
#define takenBack(w)                                                                               \
    (withState((w) & ~(TABLE_ID | FLOOR_MASK | PENDING | ANNOUNCED),                               \
               (floorOf(w) > 1 -> LEFT : NEVER_INTERNED)) - 1)
#define detached(w) (withState((w) & ~FLOOR_MASK, BEING_DETACHED) - 1)

/* ---- Shared state ----------------------------------------------------------------------------- */

/* Objects, each in a cell of memory. Without REUSES each cell is used for one object only, so that
   every use after free is detected. */
#define UNBORN 0
#define ALIVE 1
#define FREED 2
byte life[OBJECTS];
short word[OBJECTS];
#if CONTENTS == 2
bit content[OBJECTS];
#endif
byte notifiers[OBJECTS];  /* owned lifetime notifiers, */
byte raised[OBJECTS];     /* how many of them raised the floor, */
byte made[OBJECTS];       /* and all, with those being created or destroyed */

/* The table's core. */
bit coreAlive = 1;
byte holders = 1;
byte entry[CONTENTS] = NONE; /* the slot for each content */
bit changing;             /* a change of the slots is in progress */
byte unchanged;           /* threads for which no change has begun or ended since they last looked */
byte notifiee_;           /* 0: none; under the notification mutex only */
bit hasNotifiee_;         /* it has a filter that accepts all objects; readable without the mutex */
byte shardOwner = NONE;

/* The process-wide recursive mutex. */
byte notificationOwner = NONE;
byte notificationDepth;

/* References to the table itself. */
byte tableReferences = THREADS + LISTER;

#define notifieeActive_ (notifiee_ != 0)
#define REJECTING 3       /* the notifiee whose filter accepts no object; 1 and 2 accept all */
#define acceptedBy(n) (n != 0 && n != REJECTING)

/* State of the notifiee. */
byte announcedObject[CONTENTS] = NONE; /* the object whose removal will be announced */
byte notifying = NONE;    /* the thread that is calling it */
byte notified;            /* the notifiee that was called last */

#ifdef TABLE_DIES
#define TABLE_IS_HELD && hasTable
#else
#define TABLE_IS_HELD
#endif

#define beginChange() changing = 1; unchanged = 0 /* step: beginChange */
#define endChange() atomic { changing = 0; unchanged = 0 } /* step: endChange */

#define touch(o) assert(life[o] == ALIVE)

#if CONTENTS == 2
#define contentOf(o) content[o]
#define contentIs(o, c) content[o] = c
#define tableIsEmpty (entry[0] == NONE && entry[1] == NONE)
#define nothingIsAnnounced (announcedObject[0] == NONE && announcedObject[1] == NONE)
#define clearAnnounced() atomic { announcedObject[0] = NONE; announcedObject[1] = NONE }
#else
#define contentOf(o) 0
#define contentIs(o, c) skip
#define tableIsEmpty (entry[0] == NONE)
#define nothingIsAnnounced (announcedObject[0] == NONE)
#define clearAnnounced() announcedObject[0] = NONE
#endif

/* ---- Locks ------------------------------------------------------------------------------------ */

inline lockShard() {
    atomic { shardOwner == NONE -> assert(coreAlive); shardOwner = _pid }
}

inline unlockShard() {
    atomic { assert(coreAlive && shardOwner == _pid); shardOwner = NONE }
}

inline lockNotificationMutex() {
    atomic {
        notificationOwner == NONE || notificationOwner == _pid;
        notificationOwner = _pid;
        notificationDepth++
    }
}

inline unlockNotificationMutex() {
    atomic {
        assert(notificationOwner == _pid);
        notificationDepth--;
        if
        :: notificationDepth == 0 -> assert(hasNotifiee_ == acceptedBy(notifiee_)); notificationOwner = NONE
        :: else
        fi
    }
}

/* DedupTableCore::Locks. `owns`: whether this one holds the notification mutex, which its thread may
   also hold further up the stack. */
#define FOR_SHARD 0
#define MAY_ANNOUNCE 1

inline Locks(owns, mayNotify) {
    owns = 0;
    if
    :: mayNotify ->
       atomic { assert(coreAlive); hadNotifiee = hasNotifiee_ };
       if
       :: hadNotifiee -> lockNotificationMutex(); owns = 1 /* step: lockNotificationMutex */
       :: else
       fi
    :: else
    fi;
    lockShard() /* step: lockShardToRelease */
}

inline needsNotificationMutex(owns, lacks) {
    lacks = !owns && hasNotifiee_
}

#define announces(owns) (owns && notifieeActive_ && hasNotifiee_)

inline lockNotification(owns) {
    unlockShard();
    lockNotificationMutex(); /* step: lockNotification */
    owns = 1;
    lockShard() /* step: lockShardAgain */
}

/* The destructor, after unlockShard. */
inline unlockOwned(owns) {
    if
    :: owns -> unlockNotificationMutex()
    :: else
    fi
}

/* ---- References ------------------------------------------------------------------------------- */

inline retain(o) {
    atomic {
        touch(o);
        assert(stateOf(word[o]) != BEING_DETACHED);
        word[o] = word[o] + 1
    }
}

/* CountWord::change: replaces the word by a function of the one loaded before, or loads it again. */
#define CHANGE(o, before, after) /* step: change */                                                \
    atomic { touch(o); before = word[o] };                                                         \
    do                                                                                             \
    :: atomic { touch(o);                                                                          \
                if                                                                                 \
                :: word[o] == before -> word[o] = after; break                                     \
                :: else -> before = word[o]                                                        \
                fi }                                                                               \
    od

inline releaseAboveFloor(o, done) {
    done = 0;
    atomic { touch(o); before = word[o] };
    do
    :: countOf(before) - 1 > floorOf(before) -> /* step: releaseAboveFloor */
       atomic {
           touch(o);
           if
           :: word[o] == before -> word[o] = before - 1; done = 1; break
           :: else -> before = word[o]
           fi
       }
    :: else -> assert(countOf(before) != 0); break
    od
}

/* DedupTableCore::release. */
inline releaseCore() {
    atomic { /* step: releaseCore */
        assert(coreAlive && holders != 0);
        holders--;
        if
        :: holders == 0 -> assert(shardOwner == NONE && tableIsEmpty); coreAlive = 0
        :: else
        fi
    }
}

/* The end of PtrInterface::releaseSlowly: the last reference was released. */
inline destroy(o) {
    atomic {
        touch(o);
        assert(countOf(word[o]) == 1 && floorOf(word[o]) == 0);
        assert(stateOf(word[o]) != BEING_DETACHED);
        assert(entry[contentOf(o)] != o && announcedObject[contentOf(o)] != o);
        assert(notifiers[o] == 0);
        life[o] = FREED;
        hadCore = (word[o] & TABLE_ID) != 0
    };
    if
    :: hadCore -> releaseCore()
    :: else
    fi
}

/* Release of an object that cannot be interned: releaseSlowly without releaseToFloor. */
inline releaseOrdinary(o) {
    do
    :: releaseAboveFloor(o, done);
       if
       :: done -> break
       :: else ->
          atomic { touch(o); before = word[o]; assert(floorOf(before) == 0) };
          if
          :: countOf(before) == 1 -> destroy(o); break
          :: else
          fi
       fi
    od
}

/* ---- The table's core ------------------------------------------------------------------------- */

/* Under the shard's lock: DedupTableCore::take. */
inline take(owns, found) {
    do
    :: found = entry[want];
       if
       :: found == NONE -> break
       :: else
       fi;
       atomic { touch(found); before = word[found] };
#if defined(FAULT_RETURN_DETACHING)
       if
       :: (stateOf(before) != INTERNED || isSettled(before) || owns) ->
#elif defined(FAULT_RETURN_UNANNOUNCED)
       if
       :: (stateOf(before) == INTERNED || owns) ->
#else
       if
       :: (isSettled(before) || owns) ->
#endif
          retain(found);
          /* Alive, interned, and announced unless this thread is announcing it itself. */
          atomic {
              assert(stateOf(word[found]) == INTERNED);
              assert((word[found] & PENDING) == 0 || notifying == _pid)
          };
          break
       :: else -> lockNotification(owns)
       fi
    od
}

inline leave(o) {
    atomic {
        touch(o);
        assert(entry[contentOf(o)] == o && shardOwner == _pid);
        beginChange()
    };
    entry[contentOf(o)] = NONE;
    endChange()
}

inline forgetAnnouncements() {
    lockShard();
    if
    :: entry[0] != NONE -> CHANGE(entry[0], before, forgottenAnnouncement(before))
    :: else
    fi;
#if CONTENTS == 2
    if
    :: entry[1] != NONE -> CHANGE(entry[1], before, forgottenAnnouncement(before))
    :: else
    fi;
#endif
    unlockShard()
}

/* Called in handleNotificationStop, when no other notifiee must be stopped. */
inline notifieeIsAgain() {
    lockNotificationMutex();
    notifiee_ = 1;
    forgetAnnouncements();
    hasNotifiee_ = 1;
    unlockNotificationMutex()
}

inline handleNotificationStop() {
    clearAnnounced();
#ifdef RETURNS
    if
    :: tableReferences != 0 -> notifieeIsAgain()
    :: true
    fi
#endif
}

inline notifieeIs(other) {
    lockNotificationMutex();
    if
    :: notifiee_ == other
    :: else ->
#ifdef FAULT_STOPPED_TOO_LATE
       hasNotifiee_ = acceptedBy(other);
#endif
       atomic { hadNotifiee = notifieeActive_; notifiee_ = other };
#ifdef FAULT_ANNOUNCEMENTS_KEPT
       if
       :: other == 0 -> forgetAnnouncements()
       :: else
       fi;
#else
       forgetAnnouncements(); /* step: notifieeIs */
#endif
       if
       :: hadNotifiee -> handleNotificationStop() /* step: handleNotificationStop */
       :: else
       fi;
#ifdef FAULT_FILTER_OF_ARGUMENT
       hasNotifiee_ = acceptedBy(other)
#else
       hasNotifiee_ = acceptedBy(notifiee_) /* step: storeFilter */
#endif
    fi;
    unlockNotificationMutex()
}

/* DedupTableCore::abandon. */
inline leaveBehindOne(c) {
    abandoned = entry[c];
    if
    :: abandoned != NONE ->
#ifndef FAULT_CORE_NOT_HELD
       atomic { touch(abandoned); holders++; assert((word[abandoned] & TABLE_ID) != 0) };
#endif
       atomic {
           touch(abandoned);
           wasDetaching = (stateOf(word[abandoned]) == BEING_DETACHED)
       };
#ifndef FAULT_CORE_NOT_HELD
       CHANGE(abandoned, before, leftBehind(before)); /* step: leaveBehind */
#else
       CHANGE(abandoned, before, leftTable(before));
#endif
       if
       :: wasDetaching -> retain(abandoned)
       :: else
       fi
    :: else
    fi
}

inline releaseOne(c) {
    abandoned = entry[c];
    entry[c] = NONE;
    if
    :: abandoned != NONE -> releaseOrdinary(abandoned)
    :: else
    fi
}

inline abandon() {
    lockShard();
    leaveBehindOne(0);
#if CONTENTS == 2
    leaveBehindOne(1);
#endif
    unlockShard();
    releaseOne(0); /* step: releaseAbandoned */
#if CONTENTS == 2
    releaseOne(1);
#endif
    releaseCore()
}

/* Releases a reference to the table; the last one runs onZeroReferences and the destructor. */
inline releaseTable() {
    atomic {
        tableReferences--;
        lastOfTable = (tableReferences == 0)
    };
    if
    :: lastOfTable -> notifieeIs(0); abandon()
    :: else
    fi
}

/* Releases the reference of a thread. */
inline dropTable() {
    atomic { assert(hasTable); hasTable = 0 };
    releaseTable()
}

/* ---- Lifetime notifiers ----------------------------------------------------------------------- */

/* Called by a holder of the object. */
inline makeNotifier(o) {
#if defined(FAULT_NOTIFIER_WITHOUT_FLOOR)
    CHANGE(o, before, before + 1);
#elif defined(FAULT_NOTIFIER_IN_TWO_STEPS)
    CHANGE(o, before, before + FLOOR_ONE);
    CHANGE(o, before, before + 1);
#else
    CHANGE(o, before, before + 1 + (stateOf(before) == INTERNED -> FLOOR_ONE : 0));
    assert((before & FLOOR_MASK) != FLOOR_MASK);
#endif
    atomic {
        assert(stateOf(before) != BEING_DETACHED);
        notifiers[o]++;
        if
        :: stateOf(before) == INTERNED -> raised[o]++
        :: else
        fi
    }
}

/* Called by the only owner of a notifier. */
inline ownNotifier(o) {
    notifiers[o]--;
    if
    :: raised[o] != 0 -> raised[o]--; didRaise = 1
    :: notifiers[o] >= raised[o] -> didRaise = 0
    fi
}

inline dropNotifier(o) {
    lowered = 0;
    if
    :: didRaise ->
       /* CountWord::releaseForNotifier */
       atomic { touch(o); before = word[o] };
       do
       :: stateOf(before) == INTERNED ->
          atomic {
              touch(o);
              if
              :: word[o] == before ->
                 assert(floorOf(before) > 1);
                 word[o] = before - 1 - FLOOR_ONE; lowered = 1; break
              :: else -> before = word[o]
              fi
          }
       :: else -> break
       od
    :: else
    fi;
    made[o]--;
    if
    :: !lowered -> releaseOrdinary(o)
    :: else
    fi
}

/* Any notifier, if there is one. */
inline dropSomeNotifier() {
    dropped = NONE;
    atomic {
        select (dropped : 0 .. OBJECTS - 1);
        if
        :: notifiers[dropped] != 0 -> ownNotifier(dropped)
        :: else -> dropped = NONE
        fi
    };
    if
    :: dropped != NONE -> dropNotifier(dropped)
    :: else
    fi
}

/* ---- The notifiee ----------------------------------------------------------------------------- */

inline startNotification() {
    assert(notifying == NONE && notificationOwner == _pid && shardOwner != _pid);
    notifying = _pid
}

/* A notifiee unregisters itself, or registers another one. */
inline leaveNotifiee() {
    if
    :: notifieeIs(0)
#ifdef REPLACES
    :: notifieeIs(2)
#endif
    :: true
    fi
}

inline handleInsert(o, threw) {
    atomic {
        startNotification();
        assert(announcedObject[contentOf(o)] == NONE);
        announcedObject[contentOf(o)] = o;
        notified = notifiee_;
        threw = 0
    };
#ifdef NOTIFIERS
    if
    :: made[o] = 1; makeNotifier(o)
    :: true
    fi;
#endif
#ifdef REENTERS
    if
    :: Locks(ownsInside, FOR_SHARD);
       take(ownsInside, foundInside);
       unlockShard();
       unlockOwned(ownsInside);
       assert(foundInside == o);
       releaseAboveFloor(foundInside, done);
       assert(done)
    :: true
    fi;
#endif
#ifdef RESETS
    if
    :: ownsObject -> releaseAboveFloor(o, done); assert(done); ownsObject = 0
    :: true
    fi;
#endif
#ifdef LEAVES
    leaveNotifiee();
#endif
#ifdef DIES_INSIDE
    if
    :: hasTable -> dropTable()
    :: true
    fi;
#endif
#ifdef THROWS
    if
    :: atomic { threw = 1; announcedObject[contentOf(o)] = NONE }
    :: true
    fi;
#endif
    notifying = NONE
}

inline handleRemove(o) {
    atomic {
        startNotification();
        touch(o);
        assert(announcedObject[contentOf(o)] == o && notified == notifiee_);
        announcedObject[contentOf(o)] = NONE
    };
#ifdef NOTIFIERS
    if
    :: atomic { notifiers[o] != 0 -> ownNotifier(o) }; dropNotifier(o)
    :: true
    fi;
#endif
#ifdef LEAVES
    leaveNotifiee();
#endif
#ifdef DIES_INSIDE
    if
    :: hasTable -> dropTable()
    :: true
    fi;
#endif
    notifying = NONE
}

/* ---- Interning and releasing ------------------------------------------------------------------ */

inline releaseOther(o) {
#ifdef FAULT_RELEASED_IN_PASSING
    atomic { touch(o); word[o] = word[o] - 1 }
#else
    release(o)
#endif
}

/* DedupTableCore::probe and CountWord::retainIfSettledIn for an object found in a slot, without a
   lock or a reference. Between any two steps the object may be freed and its cell reused; the word
   can still be read. NONE if no reference was added. */
inline probe(found) {
    if
    :: found == NONE
    :: else ->
       before = word[found]; /* step: probe */
#ifdef FAULT_PROBE_IN_TWO_STEPS
       if
       :: isSettledHere(before) -> word[found] = word[found] + 1
       :: else -> found = NONE
       fi;
#else
       do
#ifdef FAULT_PROBE_UNSETTLED
       :: stateOf(before) != NEVER_INTERNED ->
#else
       :: isSettledHere(before) -> /* step: retainIfSettledIn */
#endif
          atomic {
              if
              :: word[found] == before -> word[found] = before + 1; break
              :: else -> before = word[found]
              fi
          }
       :: else -> atomic { found = NONE; unsettled = 1 }; break
       od;
#endif
       if
       :: found == NONE
       :: else ->
          /* Alive, interned and announced since the reference was added. */
          atomic {
              touch(found);
              assert(stateOf(word[found]) == INTERNED && (word[found] & PENDING) == 0)
          };
#if CONTENTS == 2 && !defined(FAULT_PROBE_WITHOUT_COMPARISON)
          /* The slot is that of another content, or the cell has been reused for one. */
          if
          :: contentOf(found) != want -> releaseOther(found); found = NONE /* step: compareProbed */
          :: else
          fi
#endif
       fi
    fi
}

/* DedupTableCore::find: without the lock first. An empty slot is a miss if nothing changed
   meanwhile; during a change, an entry that is being moved may be missed. Undecided cases are
   repeated under the lock. */
inline find(found) {
    /* DedupSlots::changes, modelled as a flag per thread, so that the count cannot wrap around. */
    atomic {
        if
#ifndef FAULT_MISS_DURING_A_CHANGE
        :: changing -> unchanged = unchanged & ~(1 << _pid)
        :: else
#else
        :: true
#endif
           -> unchanged = unchanged | (1 << _pid)
        fi
    };
    atomic { missed = 0; unsettled = 0 };
#ifdef COLLIDES
    found = entry[1 - want];
    probe(found);
#endif
    if
    :: found != NONE
    :: else ->
       if
       :: found = entry[want] -> missed = (found == NONE)
       :: changing -> found = NONE; missed = 1 /* being moved */
       fi;
       probe(found)
    fi;
    /* DedupSlots::unchangedSince */
#ifdef FAULT_MISS_UNCHECKED
#define unchangedSince 1
#else
#define unchangedSince ((unchanged & (1 << _pid)) != 0)
#endif
    atomic {
        if
        :: missed && !unsettled && unchangedSince ->
           assert(entry[want] == NONE) /* step: unchangedSince */
        :: else -> missed = 0
        fi;
        unsettled = 0
    };
    if
    :: found != NONE || missed
    :: else ->
       Locks(owns, FOR_SHARD); /* step: lockShard */
       take(owns, found);
       atomic { missed = (found == NONE); unchanged = unchanged | (1 << _pid) };
       unlockShard();
       unlockOwned(owns)
    fi;
    assert(found == NONE || contentOf(found) == want)
}

/* A look-up by a thread. */
inline lookUp(found) {
#if defined(DIES_INSIDE) && CONTENTS == 2 && !defined(FAULT_TABLE_NOT_HELD)
    /* It may notify, and so release the thread's reference to the table. */
    tableReferences++;
    find(found);
    releaseTable()
#else
    find(found)
#endif
}

/* In dedup, under the lock: a miss of find() holds as long as nothing has changed since. */
inline takeEqual(owns, found) {
    if
#ifdef FAULT_STALE_MISS
    :: missed -> found = NONE
    :: !missed -> take(owns, found)
#else
    :: missed && unchangedSince -> assert(entry[want] == NONE); found = NONE
    :: else -> take(owns, found)
#endif
    fi
}

/* DedupTableCore::dedup. `found` is what it returns, NONE if it throws. */
inline dedup(o, found) {
    Locks(owns, FOR_SHARD);
    takeEqual(owns, found);
#ifndef FAULT_INSERT_WITHOUT_MUTEX
    if
    :: found == NONE ->
       needsNotificationMutex(owns, lacks);
       if
       :: lacks ->
          lockNotification(owns);
#ifndef FAULT_NO_SECOND_LOOK_UP
          takeEqual(owns, found)
#endif
       :: else
       fi
    :: else
    fi;
#endif
    if
    :: found != NONE -> unlockShard()
    :: else ->
       announce = announces(owns);
#ifdef ALWAYS_REGISTERED
       assert(announce);
#endif
       /* enter */
       assert(stateOf(word[o]) == NEVER_INTERNED);
#ifdef FAULT_ENTERED_TOO_EARLY
       CHANGE(o, before, enteredTable(before, announce));
#endif
#ifdef FAILS
       if
       :: unlockShard(); goto failed /* makeRoomForOne throws */
       :: true
       fi;
#endif
#ifndef FAULT_ENTERED_TOO_EARLY
       CHANGE(o, before, enteredTable(before, announce));
#endif
       /* Equal content is never represented by two objects. */
       atomic { assert(coreAlive && entry[want] == NONE); beginChange() };
       entry[want] = o;
       endChange();
       threw = 0; /* step: entered */
       if
       :: !announce -> retain(o); unlockShard()
       :: else ->
          /* announceInsertion, with its own pointer, which it returns */
#ifndef FAULT_ANNOUNCED_UNHELD
          retain(o);
#endif
          unlockShard();
          handleInsert(o, threw); /* step: handleInsert */
          if
          :: !threw -> CHANGE(o, before, announcedInsertion(before)) /* step: insertionAnnounced */
          :: else ->
             lockShard();
             atomic { touch(o); before = word[o] };
             if
             :: stateOf(before) == INTERNED ->
                leave(o);
                CHANGE(o, before, takenBack(before))
             :: else
             fi;
             unlockShard();
#ifndef FAULT_ANNOUNCED_UNHELD
             releaseOrdinary(o)
#endif
          fi
#ifdef FAULT_ANNOUNCED_UNHELD
          ;
          if
          :: !threw -> retain(o)
          :: else
          fi
#endif
       fi;
       if
       :: !threw -> found = o
       :: else
       fi
    fi;
failed:
    unlockOwned(owns)
}

/* CountWord::releaseUnderLock. */
#define RELEASED 0
#define DETACHING 1
#define NOT_IN_TABLE 2

inline releaseUnderLock(o, outcome) {
    atomic { touch(o); before = word[o] };
    do
    :: floorOf(before) == 0 -> outcome = NOT_IN_TABLE; break
    :: floorOf(before) != 0 && countOf(before) - 1 > floorOf(before) ->
       atomic {
           touch(o);
           if
           :: word[o] == before -> word[o] = before - 1; outcome = RELEASED; break
           :: else -> before = word[o]
           fi
       }
    :: else ->
       atomic {
           touch(o);
           if
           :: word[o] == before -> word[o] = detached(before); outcome = DETACHING; break
           :: else -> before = word[o]
           fi
       }
    od
}

/* DedupTableCore::releaseHandle: releases the reference, or turns it into an ordinary one. */
inline releaseHandle(o, done) {
    atomic { touch(o); assert((word[o] & TABLE_ID) != 0) };
#ifdef FAULT_DECREMENT_UNLOCKED
    releaseUnderLock(o, outcome);
    Locks(owns, MAY_ANNOUNCE);
#elif defined(FAULT_REMOVE_WITHOUT_MUTEX)
    Locks(owns, FOR_SHARD);
    releaseUnderLock(o, outcome);
#else
    Locks(owns, MAY_ANNOUNCE);
    releaseUnderLock(o, outcome);
#endif
    if
    :: outcome == DETACHING ->
       atomic { touch(o); before = word[o] };
       if
       :: (before & ANNOUNCED) != 0 && announces(owns) ->
          unlockShard();
          handleRemove(o); /* step: handleRemove */
          lockShard() /* step: lockShardToLeave */
       :: else
       fi;
       atomic { touch(o); before = word[o] };
       if
       :: stateOf(before) == BEING_DETACHED ->
          leave(o);
          CHANGE(o, before, leftTable(before)) /* step: leaveTable */
       :: else
       fi
    :: else
    fi;
    unlockShard();
    unlockOwned(owns);
    done = (outcome == RELEASED) /* step: releaseOrdinary */
}

/* PtrInterface::release and releaseSlowly. */
inline release(o) {
    do
    :: releaseAboveFloor(o, done);
       if
       :: done -> break
       :: else
       fi;
       atomic { touch(o); before = word[o] }; /* step: releaseSlowly */
       if
       :: countOf(before) == 1 && floorOf(before) == 0 -> destroy(o); break
       :: else
       fi;
       atomic { touch(o); before = word[o] };
       if
       :: floorOf(before) != 0 ->
          releaseHandle(o, done); /* step: releaseToFloor */
          if
          :: done -> break
          :: else
          fi
       :: else
       fi
    od
}

/* ---- The threads ------------------------------------------------------------------------------ */

#define LOCALS                                                                                     \
    bit owns, ownsInside, ownsObject, hadNotifiee, lacks, done, hadCore;                            \
    bit announce, threw, didRaise, lowered, wasDetaching, hasTable, lastOfTable;                   \
    byte found = NONE, foundInside = NONE, abandoned = NONE, dropped = NONE, outcome, round, own;  \
    byte want;                                                                                     \
    bit missed, unsettled;                                                                         \
    short before

byte finished;

proctype Interner(byte first) {
    LOCALS;
#ifdef TABLE_DIES
    hasTable = 1;
#endif
    do
    :: round < ROUNDS TABLE_IS_HELD ->
       own = first + round;
       found = NONE;
       missed = 0;
#if CONTENTS == 2
       if
       :: want = 0
       :: want = 1
       fi;
#endif
#ifndef BRIEF
       if
       :: lookUp(found)
       :: true
       fi;
#endif
       if
       :: found != NONE
#ifdef TABLE_DIES
       :: found == NONE && !hasTable /* it was released in a notification */
#endif
       :: else ->
          atomic {
#ifdef REUSES
              /* The worst case: the cell freed last. */
              own = 0;
              do
              :: life[own] == ALIVE -> own++
              :: else -> break
              od;
#else
              assert(life[own] == UNBORN);
#endif
              life[own] = ALIVE;
              word[own] = 1;
              contentIs(own, want);
              ownsObject = 1
          };
          /* An object whose handleInsert threw may be interned again. */
          do
          :: dedup(own, found);
             if
             :: found != NONE -> break
             :: found == NONE -> break
             :: found == NONE && ownsObject && stateOf(word[own]) == NEVER_INTERNED TABLE_IS_HELD
             fi
          od;
          if
          :: ownsObject -> release(own); ownsObject = 0
          :: else
          fi
       fi;
       if
       :: found == NONE
       :: else ->
#ifndef BRIEF
          if
          :: retain(found); releaseAboveFloor(found, done); assert(done)
          :: true
          fi;
#endif
#if defined(NOTIFIERS) && !defined(NOTIFIEE)
          if
          :: atomic { made[found] < NOTIFIERS -> made[found]++ }; makeNotifier(found)
          :: true
          fi;
#endif
#ifdef TABLE_DIES
          if
          :: hasTable -> dropTable()
          :: true
          fi;
#endif
          release(found)
       fi;
#ifdef NOTIFIERS
       if
       :: dropSomeNotifier()
       :: true
       fi;
#endif
       round++
    :: else -> break
    od;
#ifdef TABLE_DIES
    if
    :: hasTable -> dropTable()
    :: else
    fi;
#endif
    finished++
}

#if REGISTRAR
proctype Registrar() {
    LOCALS;
#ifdef REPLACES
    select (own : 0 .. REJECTING);
    notifieeIs(own);
    select (own : 0 .. REJECTING);
    notifieeIs(own);
#else
    notifieeIs(0);
    notifieeIs(1);
#endif
    finished++
}
#endif

#if LISTER
/* DedupTableCore::handles, and the release of its result. */
proctype Lister() {
    LOCALS;
    byte listed[CONTENTS] = NONE;
    hasTable = 1;
    lockShard();
    for (round : 0 .. CONTENTS - 1) {
        found = entry[round];
        if
        :: found == NONE
        :: else ->
           atomic { touch(found); before = word[found] };
           if
#ifdef FAULT_LISTED_UNSETTLED
           :: true ->
#else
           :: isSettled(before) ->
#endif
              retain(found);
              assert((word[found] & PENDING) == 0);
              listed[round] = found
           :: else
           fi
        fi
    };
    unlockShard();
#ifdef TABLE_DIES
    dropTable();
#else
    hasTable = 0;
    tableReferences--;
#endif
    for (round : 0 .. CONTENTS - 1) {
        found = listed[round];
        if
        :: found != NONE -> release(found)
        :: else
        fi
    };
    finished++
}
#endif

#define PROCESSES (THREADS + REGISTRAR + LISTER)

init {
    LOCALS;
    atomic {
#ifdef NOTIFIEE
        hasNotifiee_ = 1;
        notifiee_ = 1;
#endif
        run Interner(0);
        run Interner(ROUNDS);
#if THREADS == 3
        run Interner(2 * ROUNDS);
#endif
#if REGISTRAR
        run Registrar();
#endif
#if LISTER
        run Lister();
#endif
    };
    finished == PROCESSES;
    /* Only notifiers may still hold objects. */
    assert(tableIsEmpty && nothingIsAnnounced);
#ifndef TABLE_DIES
    hasTable = 1;
    tableReferences = 1;
    dropTable();
#endif
#ifdef NOTIFIERS
    for (round : 0 .. OBJECTS - 1) {
        do
        :: notifiers[round] != 0 -> atomic { ownNotifier(round) }; dropNotifier(round)
        :: else -> break
        od
    };
#endif
    /* Nothing leaks. */
    for (round : 0 .. OBJECTS - 1) {
        assert(life[round] != ALIVE)
    };
    assert(!coreAlive && tableReferences == 0);
    assert(notificationOwner == NONE && shardOwner == NONE && notifying == NONE)
}
