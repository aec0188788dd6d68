#pragma once

#import <Foundation/Foundation.h>

typedef NSObject* dispatch_queue_t;
typedef void (^dispatch_block_t)(void);

dispatch_queue_t dispatch_get_main_queue();
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
