/*
 * Kel::DedupSlots: the slots of one shard, which grow and shrink while look-ups probe them.
 *
 * Checks every interleaving of one thread that changes the slots with one that probes them without
 * a lock, both forever. One of each is enough: the shard's lock admits one change at a time, and a
 * probe changes nothing that another process of this model reads. Each load and store is one step.
 *
 * Buckets have one slot instead of seven, and arrays two or four buckets. An array may be
 * replaced by a larger or smaller one at any load, and a change moves any number of buckets. There
 * are two contents, with the same tag; the first one is looked up. Not modelled: the places beside
 * the slots, and reference counts and notifications, which intern.pml has.
 *
 *   PLACE  of the second content, 0 to 3; that of the first one is 3
 *   FAILS  an allocation may fail
 *
 * FAULT_... plants a fault, which must be found.
 */

#define NONE 255
#define CONTENTS 2
#define OBJECTS CONTENTS
#define WANTED 0

#define placeOf(c) (c == 0 -> 3 : PLACE)

/* ---- Arrays ----------------------------------------------------------------------------------- */

/* Two arrays of two buckets, and two of four. */
#define ARRAYS 4
#define BUCKETS 12
#define arrayOfSize(n, which) ((n) - 2 + which)
#define sizeOf(a) (a < 2 -> 2 : 4)
#define bucketOf(a, i) ((a < 2 -> 2 * a : 4 * a - 4) + (i))
#define homeOf(a, p) ((p) >> (a < 2 -> 1 : 0))
#define nextOf(a, i) (((i) + 1) & (sizeOf(a) - 1))

/* The control word: whether the slot has a tag, and how many entries were passed over. */
#define TAG 1
#define PASSED_ONE 2
byte control[BUCKETS];
byte slot[BUCKETS] = NONE;

byte current = NONE;
byte previous = NONE;
bit exists[ARRAYS];
bit isSpare[ARRAYS];
byte next;  /* the next bucket of `previous` to move */
byte size;

/* DedupSlots::changes_, as a flag, so that the count cannot wrap around. */
bit changing;
bit unchanged;

/* ---- Objects ---------------------------------------------------------------------------------- */

/* Each in a cell of memory, which is reused. */
bit isFree[OBJECTS] = 1;
bit isSettled[OBJECTS];        /* it may be retained */
bit contentOf[OBJECTS];
byte entryOf[CONTENTS] = NONE; /* the object in the slots, for assertions only */

/* ---- Changes, under the shard's lock ---------------------------------------------------------- */

#define beginChange() atomic { changing = 1; unchanged = 0 } /* step: beginChange */
#define endChange() atomic { assertConsistent(); changing = 0; unchanged = 0 } /* step: endChange */

/* SlotArray::put. */
inline put(a, h, p) {
    index = homeOf(a, p);
    left = sizeOf(a);
    do
    :: (control[bucketOf(a, index)] & TAG) != 0 ->
#ifndef FAULT_PASSED_OVER_UNCOUNTED
       control[bucketOf(a, index)] = control[bucketOf(a, index)] + PASSED_ONE;
#endif
       atomic { index = nextOf(a, index); left--; assert(left != 0) }
    :: else -> break
    od;
    slot[bucketOf(a, index)] = h;
    control[bucketOf(a, index)] = control[bucketOf(a, index)] | TAG /* step: putTag */
}

/* SlotArray::remove. */
inline remove(a, i, p) {
    control[bucketOf(a, i)] = control[bucketOf(a, i)] & ~TAG;
    slot[bucketOf(a, i)] = NONE; /* step: clearSlot */
    index = homeOf(a, p);
    do
    :: index != i ->
       atomic {
           assert(control[bucketOf(a, index)] >= PASSED_ONE);
           control[bucketOf(a, index)] = control[bucketOf(a, index)] - PASSED_ONE;
           index = nextOf(a, index)
       }
    :: else -> break
    od
}

/* SlotArray::find and erase(), for the holder of the lock: one step. */
inline locate(a, h, p) {
    at = NONE;
    d_step {
        if
        :: a == NONE
        :: else ->
           index = homeOf(a, p);
           left = sizeOf(a);
           do
           :: left == 0 -> break
           :: left != 0 && slot[bucketOf(a, index)] == h -> at = index; break
           :: else ->
              if
              :: control[bucketOf(a, index)] < PASSED_ONE -> break
              :: else -> index = nextOf(a, index); left--
              fi
           od
        fi;
        index = 0;
        left = 0
    }
}

/* What find() and forEach() rely on under the lock, such as in handles(): each entry is found, and
   is in exactly one slot; a spare array is empty. */
inline assertConsistent() {
    d_step {
        found = 0;
        index = 0;
        do
        :: index == BUCKETS -> break
        :: else ->
           assert((slot[index] != NONE) == ((control[index] & TAG) != 0));
           found = found + (slot[index] != NONE -> 1 : 0);
           index++
        od;
        assert(found == size);
        found = 0;
        index = 0;
        do
        :: index == ARRAYS -> break
        :: else ->
           left = 0;
           do
           :: left == sizeOf(index) -> break
           :: else ->
              assert(control[bucketOf(index, left)] == 0 ||
                     index == current || index == previous);
              left++
           od;
           index++
        od;
        assert(current != previous || current == NONE);
        index = 0;
        left = 0
    };
    checked = 0;
    do
    :: checked == CONTENTS -> break
    :: else ->
       if
       :: entryOf[checked] != NONE ->
          locate(current, entryOf[checked], placeOf(checked));
          if
          :: at == NONE -> locate(previous, entryOf[checked], placeOf(checked)); assert(at != NONE)
          :: else
          fi
       :: else
       fi;
       checked++
    od;
    checked = 0;
    at = NONE
}

/* DedupSlots::arrayOf: `replacement` is a spare array, a new one, or NONE if there is no memory. */
inline arrayOf(n) {
    atomic {
        if
        :: isSpare[arrayOfSize(n, 0)] -> replacement = arrayOfSize(n, 0)
        :: else ->
           if
           :: isSpare[arrayOfSize(n, 1)] -> replacement = arrayOfSize(n, 1)
           :: else ->
              if
#ifdef FAILS
              :: replacement = NONE
#endif
              :: replacement = arrayOfSize(n, (exists[arrayOfSize(n, 0)] -> 1 : 0));
                 assert(!exists[replacement]);
                 exists[replacement] = 1
              fi
           fi
        fi;
        if
        :: replacement != NONE -> isSpare[replacement] = 0
        :: else
        fi
    }
}

inline replaceBy() {
    atomic { next = 0; previous = current };
    current = replacement /* step: replaceBy */
}

/* A part of DedupSlots::step: SlotArray::moveBucketTo for the next bucket. */
inline moveBucket() {
    moved = slot[bucketOf(previous, next)];
    if
    :: moved != NONE ->
       put(current, moved, placeOf(contentOf[moved]));
       remove(previous, next, placeOf(contentOf[moved])) /* step: moveBucketTo */
    :: else
    fi;
    atomic {
        moved = NONE;
        next++;
        if
#ifdef FAULT_SPARE_TOO_EARLY
        :: next + 1 >= sizeOf(previous) ->
#else
        :: next == sizeOf(previous) ->
#endif
#ifdef FAULT_ARRAY_FREED
           exists[previous] = 0;
#else
           isSpare[previous] = 1;
#endif
           previous = NONE;
           next = 0
        :: else
        fi
    }
}

/* DedupSlots::step. */
inline step() {
    do
    :: previous != NONE -> moveBucket()
    :: break
    od
}

#define capacity (current == NONE -> 0 : sizeOf(current))

/* DedupSlots::makeRoomForOne. `replacement` is NONE if it throws. */
inline makeRoomForOne() {
    if
    :: size + 1 <= capacity -> replacement = current
    :: capacity != 4 ->
#ifdef FAULT_ALLOCATED_TOO_LATE
       atomic { next = 0; previous = current };
#endif
       arrayOf((current == NONE -> 2 : 4));
       if
       :: replacement == NONE
       :: else ->
#ifndef FAULT_MOVES_UNCOUNTED
          beginChange();
#endif
#ifndef FAULT_ENTRIES_LEFT_BEHIND
          do
          :: previous != NONE -> moveBucket()
          :: else -> break
          od;
#endif
          replaceBy();
          endChange()
       fi
    fi
}

/* DedupSlots::shrinkIfEmpty. */
inline shrinkIfEmpty() {
    if
#ifdef FAULT_SHRINKS_WHILE_MOVING
    :: capacity != 2 && size <= capacity / 2 ->
#else
    :: capacity != 2 && size <= capacity / 2 && previous == NONE ->
#endif
       arrayOf(2);
       assert(replacement != NONE); /* the array that this one replaced when it grew is spare */
       replaceBy()
    :: true
    fi
}

/* DedupTableCore::enter for an object of content `content`. */
inline insert() {
    makeRoomForOne();
    if
    :: replacement == NONE /* throws */
    :: else ->
       atomic {
           object = (isFree[0] -> 0 : 1);
           isFree[object] = 0;
           contentOf[object] = content;
           isSettled[object] = 1
       };
       beginChange();
       put(current, object, placeOf(content));
       atomic { entryOf[content] = object; size++ };
#ifndef FAULT_MOVES_UNCOUNTED
       step();
       endChange()
#else
       endChange();
       step()
#endif
    fi
}

/* DedupTableCore::leave of the object of content `content`. */
inline erase() {
    object = entryOf[content];
    isSettled[object] = 0; /* being detached, maybe for long */
    beginChange();
    locate(current, object, placeOf(content));
    if
    :: at != NONE -> found = at; remove(current, found, placeOf(content))
    :: else ->
#ifdef FAULT_ERASED_IN_CURRENT_ONLY
       assert(false)
#else
       locate(previous, object, placeOf(content));
       assert(at != NONE);
       found = at;
       remove(previous, found, placeOf(content))
#endif
    fi;
    atomic { found = 0; at = NONE; entryOf[content] = NONE; size-- };
    step();
    shrinkIfEmpty();
    endChange();
    isFree[object] = 1
}

/* A thread that holds the shard's lock. */
proctype Changer() {
    byte content, checked, object = NONE, replacement = NONE, moved = NONE, index, left, at = NONE, found;
    do
    :: atomic {
           select (content : 0 .. CONTENTS - 1);
           if
           :: entryOf[content] == NONE -> found = 1
           :: else -> found = 0
           fi
       };
       if
       :: found == 1 -> found = 0; insert()
       :: else -> erase()
       fi;
       atomic { content = 0; object = NONE; replacement = NONE; index = 0; left = 0 }
    od
}

/* ---- Look-ups --------------------------------------------------------------------------------- */

/* SlotArray::find, with DedupTableCore::probe as `accept`, in one step: intern.pml has its steps. */
inline findIn(a) {
    atomic { index = homeOf(a, placeOf(WANTED)); left = sizeOf(a) };
    do
    :: left == 0 -> break
    :: else ->
       atomic { assert(exists[a]); loaded = control[bucketOf(a, index)] };
       if
       :: (loaded & TAG) != 0 ->
          atomic { assert(exists[a]); candidate = slot[bucketOf(a, index)] };
          if
#ifndef FAULT_EMPTY_SLOT_USED
          :: candidate == NONE
#endif
          :: else ->
             atomic {
                 assert(candidate != NONE);
                 if
                 :: !isSettled[candidate] -> unsettled = 1
                 :: isSettled[candidate] && contentOf[candidate] == WANTED -> hit = 1
                 :: else
                 fi
             }
          fi;
          candidate = NONE
       :: else
       fi;
       if
       :: hit || loaded < PASSED_ONE -> break
       :: else -> atomic { index = nextOf(a, index); left-- }
       fi
    od;
    atomic { index = 0; left = 0; loaded = 0 }
}

/* A thread in DedupTableCore::findUncounted, without the lock, and DedupSlots::find. */
proctype Prober() {
    byte array = NONE, index, left, loaded, candidate = NONE;
    bit hit, unsettled;
    do
    :: unchanged = !changing;
       array = current;
       if
       :: array != NONE -> findIn(array)
       :: else
       fi;
#ifndef FAULT_FOUND_IN_CURRENT_ONLY
       if
       :: !hit ->
          array = previous; /* step: findInPrevious */
          if
          :: array != NONE -> findIn(array)
          :: else
          fi
       :: else
       fi;
#endif
       atomic {
#ifdef FAULT_UNSETTLED_MISSED
           unsettled = 0;
#endif
           /* A miss without the lock is right. */
           assert(hit || unsettled || !unchanged || entryOf[WANTED] == NONE); /* step: unchangedSince */
           hit = 0;
           unsettled = 0;
           array = NONE
       }
    od
}

init {
    atomic {
        run Changer();
        run Prober()
    }
}
