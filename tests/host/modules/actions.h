// What the test module does when it is called: one number as first input.
#pragma once

enum class Action {
  countArguments,        // output 0 becomes [nlhs nrhs]
  copyInput,             // output 0 becomes a copy of the second input, a double array
  fillThenRaise,         // stores an array in slot 0, then raises
  raiseEachKey,          // the second input chooses which of the eleven keys
  raiseZone,             // the second input is the text of an unknown time zone
  raiseAndReturn,        // reports an error, and where that comes back, returns as if all were well
  raiseThenThrowOther,   // reports one key, and where that comes back, throws another
  throwBadAlloc,         //
  throwRuntimeError,     //
  throwInvalidUtf8,      // a std::exception whose text is not UTF-8
  throwInt,              //
  throwUnkeyed,          // an IUserException of the module's own, which has no identifier
  throwUnreadable,       // one whose message cannot be asked for
  catchEverything,       // swallows what the host's error call throws, then returns
  createTooLarge,        // an array whose size overflows
  createTooLargeForNow,  // an array that fits no memory
  createOneDimension,    // an array the host refuses
  callModule,            // calls the module whose path is the second input, ignoring its error
  callModuleThenRaise,   // the same, then raises
  callModuleThenCreate,  // the same, then makes an array that the host refuses
  dispatchRuntimeError,  // hands a std::runtime_error to dispatch_char_exception
  dispatchBadAlloc,      //
  endThread,             // ends the thread that calls
};
