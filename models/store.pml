/*
 * MoxStash: writers that publish stores in one place, which may be killed at any step, and a reader.
 *
 * Writers publish ATTEMPTS stores in total, one at a time, because they hold the lock. Each system
 * call, and each load or store of a word in a segment, is one step. Checksums are perfect: a word
 * has the number of the attempt that wrote it and its index in the store. Not modelled: other
 * programs, removeStore(), lack of memory, power failure, and files of other users.
 *
 *   FILE      the place is a file; otherwise it is a shared-memory segment
 *   WRITERS   1 or 2: how many processes publish; one that was killed is started again
 *   ATTEMPTS  how many stores they begin
 *   KILLS     how often a writer is killed
 *   SIZES     a store in a segment may need two pages
 *
 * A reader attaches once, reads a word, and validates it. One is enough: readers change nothing.
 *
 * FAULT_... plants a fault, which must be found.
 */

#define NONE 255

/* ---- What the assertions need ----------------------------------------------------------------- */

byte attempts;                  /* begun so far; each has a number from 1 on */
byte generationOf[ATTEMPTS + 1];
bit isPublished[ATTEMPTS + 1];
bit isLong[ATTEMPTS + 1];       /* four words in two pages, otherwise three in one */
byte published;                 /* the generation that was published last */
byte events;                    /* changes that a reader may notice */

#define wordsOf(n) (isLong[n] -> 4 : 3)
#define pagesOf(n) (isLong[n] -> 2 : 1)

inline publish() {
    /* Generations never go back, and only those begun before the first store are skipped. */
    assert(generation == published + 1 || (published == 0 && generation != 0));
    published = generation;
    isPublished[attempt] = 1;
    events++
}

/* ---- WriterLock ------------------------------------------------------------------------------- */

/* A file whose name was removed can still be open, and locked. */
#define LOCKS 3
byte lockName = NONE;           /* the file with the name STORE.lock */
byte lockOwner[LOCKS];          /* the process that has locked it, or 0 */
byte lockOpen[LOCKS];           /* how many have it open */

inline closeLock() {
    atomic {
        if
        :: lock != NONE ->
           lockOpen[lock]--;
           if
           :: lockOwner[lock] == _pid -> lockOwner[lock] = 0
           :: else
           fi;
           lock = NONE
        :: else
        fi
    }
}

/* openAndLock. */
inline lockWriters() {
    do
    :: atomic { /* step: openLock */
           if
           :: lockName != NONE
           :: else ->
              lockName = 0;
              do
              :: lockOpen[lockName] != 0 -> lockName++
              :: else -> break
              od
           fi;
           lock = lockName;
           lockOpen[lock]++
       };
#ifndef FAULT_NOT_LOCKED
       atomic { lockOwner[lock] == 0 -> lockOwner[lock] = _pid }; /* step: lockWriters */
#endif
#ifdef FAULT_LOCK_WITHOUT_NAME
       break
#else
       if
       :: lockName == lock -> break /* step: checkLockName */
       :: else -> closeLock()
       fi
#endif
    od
}

/* ~WriterLock: that of a segment exists as long as the segment. */
inline unlockWriters() {
#ifdef FILE
    lockName = NONE; /* step: removeLock */
#endif
    closeLock()
}

/* ---- Files ------------------------------------------------------------------------------------ */

#ifdef FILE
/* A file has the number of the attempt that created it. */
byte storeName, newName;        /* STORE and STORE.new; 0: no such file */
byte written[ATTEMPTS + 1];     /* words */

/* publishFile. */
inline publishStore() {
    atomic {
        generation = 0; /* step: publishedAt */
#ifndef FAULT_GENERATION_ANEW
        if
        :: storeName != 0 -> assert(written[storeName] != 0); generation = generationOf[storeName]
        :: else
        fi;
#endif
        generation++;
        generationOf[attempt] = generation
    };
#ifndef FAULT_LEFTOVER_KEPT
    newName = 0; /* step: removeLeftover */
#endif
    atomic { assert(newName == 0); newName = attempt }; /* step: createNew */
#ifdef FAULT_RENAMED_TOO_EARLY
    renameNew();
#endif
    do
    :: written[attempt] != wordsOf(attempt) -> written[attempt]++ /* step: writeNew */
    :: else -> break
    od;
#ifndef FAULT_RENAMED_TOO_EARLY
    renameNew()
#endif
}

inline renameNew() {
    atomic { /* step: renameNew */
        assert(newName == attempt);
        storeName = newName;
        newName = 0;
        publish()
    }
}

/* StoreManager, for a file: it is immutable once it has the name STORE. */
proctype Reader() {
    byte expected, opened;
    expected = published;
    opened = storeName;
    if
    :: opened == 0 -> assert(expected == 0)
    :: else ->
       assert(isPublished[opened] && generationOf[opened] >= expected);
       assert(written[opened] == wordsOf(opened)) /* nothing is written to it any more */
    fi
}

#else
/* ---- Segments --------------------------------------------------------------------------------- */

#define PAGES 5                 /* for areas */
#define PAGE 3                  /* words */
bit exists;
byte pages;                     /* of the segment, with that of the header */
bit magic, layout;              /* the first two words of the header */
byte current;                   /* the page with the current area, from 1; 0: none */
byte begun;
byte word[PAGES * PAGE];        /* of the areas; 0 at first */

#define wordAt(page, i) word[((page) - 1) * PAGE + (i)]
#define wordOf(n, i) (4 * (n) + (i))
#define attemptOf(w) ((w) / 4)
#define indexOf(w) ((w) & 3)

/* SegmentWriter::initializeHeader. */
inline initializeHeader() {
    if
#ifdef FAULT_HALF_A_HEADER_FOREIGN
    :: octets <= 1 && !magic && !layout && current == 0 && begun == 0 ->
#else
    :: octets <= 1 && !magic && current == 0 && begun == 0 ->
#endif
#ifdef FAULT_MAGIC_FIRST
       magic = 1;
       layout = 1
#else
       layout = 1;
       magic = 1 /* step: writeMagic */
#endif
    :: else
    fi;
    assert(magic && layout) /* otherwise no writer can ever use the segment again */
}

/* SegmentWriter::findCurrent. */
inline findCurrent() {
    atomic {
        area = current;
        if
        :: area != 0 && begun - generationOf[attemptOf(wordAt(area, 0))] <= 1 ->
           assert(indexOf(wordAt(area, 0)) == 0);
           generation = generationOf[attemptOf(wordAt(area, 0))] + 1;
           /* SegmentWriter::placeFor */
           if
#ifdef FAULT_AREA_OVER_CURRENT
           :: true -> area = 1
#elif defined(FAULT_AREA_ONE_PAGE_TOO_LARGE)
           :: pagesOf(attempt) <= area -> area = 1
#else
           :: pagesOf(attempt) <= area - 1 -> area = 1
#endif
           :: else -> area = area + pagesOf(attemptOf(wordAt(area, 0)))
           fi
        :: else ->
           generation = (begun == 0 -> 1 : begun + 2);
           area = 1
        fi;
        generationOf[attempt] = generation
    }
}

inline begin() {
    atomic { begun = generation; events++ } /* step: beginStore */
}

/* The constructors of OpenSegment and SegmentWriter, and SegmentWriter::publish. */
inline publishStore() {
    atomic { exists = 1; octets = pages }; /* step: openSegment */
    if
    :: octets == 0 -> atomic { pages = 1; events++ } /* step: reserveHeader */
    :: else
    fi;
    initializeHeader();
    findCurrent(); /* step: findCurrent */
    if
    :: pages < area + pagesOf(attempt) ->
       atomic { assert(area + pagesOf(attempt) <= PAGES + 1); pages = area + pagesOf(attempt); events++ }
    :: else
    fi;
#ifndef FAULT_BEGUN_AFTER_WORDS
    begin();
#endif
#ifdef FAULT_CURRENT_BEFORE_WORDS
    atomic { current = area; publish() };
#endif
    octets = 0;
    do
    :: octets != wordsOf(attempt) ->
       atomic { wordAt(area, octets) = wordOf(attempt, octets); octets++ } /* step: storeWord */
    :: else -> break
    od;
#ifdef FAULT_BEGUN_AFTER_WORDS
    begin();
#endif
#ifndef FAULT_CURRENT_BEFORE_WORDS
    atomic { current = area; publish() } /* step: storeCurrent */
#endif
}

/* StoreManager::isOverwritten. */
inline isOverwritten() {
    overwritten = 0;
    /* The last word, and the generation in the header. */
    if
    :: indexOf(wordAt(area, wordsOf(attached) - 1)) != wordsOf(attached) - 1 ||
       generationOf[attemptOf(wordAt(area, wordsOf(attached) - 1))] != generation -> overwritten = 1
    :: else
    fi;
    if
    :: indexOf(wordAt(area, 1)) != 1 ||
       generationOf[attemptOf(wordAt(area, 1))] != generation -> overwritten = 1
    :: else
    fi;
    if
#if defined(FAULT_ONE_GENERATION_TOO_MANY)
    :: begun > generation + 2 -> overwritten = 1
#elif defined(FAULT_ONE_GENERATION_TOO_FEW)
    :: begun > generation -> overwritten = 1
#elif defined(FAULT_BEGUN_IGNORED)
    :: false
#else
    :: begun > generation + 1 -> overwritten = 1 /* step: isOverwritten */
#endif
    :: else
    fi
}

/* StoreManager::check: sets `failed`. */
inline check() {
    loaded = wordAt(area, 0);
    attached = attemptOf(loaded);
    if
    :: attached == 0 || indexOf(loaded) != 0 || area + pagesOf(attached) > mapped -> failed = 1
    :: else ->
       loaded = wordAt(area, 1); /* the generation in the header */
       generation = generationOf[attemptOf(loaded)];
       i = 0;
       do
       :: i != wordsOf(attached) && !failed ->
          atomic { failed = (wordAt(area, i) != wordOf(attached, i)); i++ }
       :: else -> break
       od;
       if
       :: !failed ->
          loaded = wordAt(area, wordsOf(attached) - 1);
          failed = (generationOf[attemptOf(loaded)] != generation)
       :: else
       fi
    fi;
    i = 0;
    loaded = 0
}

/* StoreManager::attach. */
inline attach() {
    mapped = pages;
    begunBefore = (mapped == 0 -> 0 : begun); /* step: loadBegun */
    if
    :: mapped == 0 || !magic || !layout -> failed = 1
    :: else ->
       area = current; /* step: loadCurrent */
       if
       :: area == 0 || area >= mapped -> failed = 1
       :: else ->
          check(); /* step: check */
#ifndef FAULT_ANY_GENERATION
          /* A store that is complete, but not current. */
          failed = failed || generation > begunBefore
#endif
       fi
    fi;
    if
    :: failed ->
#ifdef FAULT_DAMAGE_WHILE_REPLACED
       same = 1;
#else
       same = 1;
#ifndef FAULT_SIZE_NOT_COMPARED
       same = same && mapped == pages; /* step: octetsNow */
#endif
#ifndef FAULT_BEGUN_NOT_COMPARED
       same = same && begunBefore == (mapped == 0 -> 0 : begun);
#endif
       same = same && area == (mapped == 0 -> 0 : current);
#endif
       /* An error without a newer store means that there was no store yet. A store is stale only
          if there is a newer one. */
       assert(same -> expected == 0 && area == 0 : eventsBefore != events)
    :: else ->
       isOverwritten();
       assert(!overwritten || eventsBefore != events);
       failed = overwritten
    fi
}

/* A StoreManager that reads one word. */
proctype Reader() {
    byte expected, eventsBefore, mapped, begunBefore, area, attached, loaded, generation, i;
    bit failed, same, overwritten;
    atomic { expected = published; eventsBefore = events };
    if
    :: !exists -> assert(expected == 0)
    :: else ->
       attach(); /* step: attach */
       if
       :: failed
       :: else ->
          /* The store is whole and published, and not older than the one at the beginning. */
          assert(isPublished[attached] && generation == generationOf[attached]);
          assert(generation >= expected);
          atomic { select (i : 0 .. 3); i = (i < wordsOf(attached) -> i : 0) };
          loaded = wordAt(area, i);
          isOverwritten();
          /* The word belongs to this store, unless the store after the next has been begun. */
          assert(overwritten -> begun > generation + 1 : loaded == wordOf(attached, i))
       fi
    fi
}
#endif

/* ---- Processes -------------------------------------------------------------------------------- */

byte victim;                    /* the writer to kill */
byte finished;

/* Processes in MoxStash::publishStore, one after the other. */
proctype Writer() {
    byte lock = NONE, attempt, generation, area, octets;
    do
    :: atomic {
           attempts < ATTEMPTS ->
           attempts++;
           attempt = attempts;
#ifdef SIZES
           if
           :: isLong[attempt] = 1
           :: true
           fi
#endif
       };
       {
           lockWriters();
           publishStore();
           unlockWriters()
       } unless {
           atomic { victim == _pid -> victim = 0; closeLock() }
       };
       atomic { generation = 0; area = 0; octets = 0 }
    :: atomic { attempts == ATTEMPTS -> break }
    od;
    finished++
}

/* Kills writers, at any step. */
proctype Killer() {
    byte kills;
    do
    :: kills < KILLS && victim == 0 ->
       atomic {
           if
           :: victim = 1
#if WRITERS == 2
           :: victim = 2
#endif
           fi;
           kills++
       }
    :: break
    od
}

init {
    atomic {
        run Writer();
#if WRITERS == 2
        run Writer();
#endif
        run Killer();
        run Reader()
    };
    /* No writer waits for one that was killed. */
    finished == WRITERS
}
